// A folder of a test's own, laid out like the router's root, and gone with its owner.
#ifndef RC_TESTS_TEMPORARY_FOLDER_H
#define RC_TESTS_TEMPORARY_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "nvram-test-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) std::abort();
        path_ = name;
        for (const char* folder : {"tmp", "etc"}) std::filesystem::create_directory(path_ / folder);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    std::string operator/(std::string_view name) const { return path_ / name; }
    std::string path() const { return path_; }

    void write(std::string_view name, std::string_view content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }

    void append(std::string_view name, std::string_view content) const {
        std::ofstream(path_ / name, std::ios::binary | std::ios::app) << content;
    }

    // "(none)" when there is no such file.
    std::string read(std::string_view name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        if (!file) return "(none)";
        return {std::istreambuf_iterator<char>(file), {}};
    }

    bool has_temporary_files(std::string_view name) const {
        for (const auto& entry : std::filesystem::directory_iterator(path_ / name))
            if (entry.path().extension() == ".new") return true;
        return false;
    }

  private:
    std::filesystem::path path_;
};

#endif
