// The nvram command in a folder of the test's own: its output, its messages and its status.
#ifndef RC_TESTS_COMMAND_KIT_H
#define RC_TESTS_COMMAND_KIT_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "temporary_folder.h"

struct Result {
    int status;
    std::string output;
    std::string errors;

    bool operator==(const Result&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << "status " << result.status << "\noutput:\n"
               << result.output << "errors:\n"
               << result.errors;
}

class Nvram : public testing::Test {
  protected:
    // Runs "nvram --root FOLDER" and the words as a shell line.
    Result run(const std::string& words, const std::string& output = "") {
        const std::string line = command + " --root " + folder.path() + " " + words + " >" +
                                 (output.empty() ? folder / "output" : output) + " 2>" +
                                 (folder / "errors");
        const int status = std::system(("bash -c '" + line + "'").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("output"),
                plain(folder.read("errors"))};
    }

    // Without the test's folder, so that paths in expectations are the router's.
    std::string plain(std::string text) const {
        for (std::size_t at = text.find(folder.path()); at != std::string::npos;
             at = text.find(folder.path()))
            text.erase(at, folder.path().size());
        return text;
    }

    static Result done(const std::string& output = "") { return {0, output, ""}; }
    static Result no(const std::string& output = "") { return {1, output, ""}; }
    static Result error(const std::string& message) { return {2, "", "nvram: " + message + "\n"}; }

    std::string working() const { return folder.read("tmp/nvram"); }

    TemporaryFolder folder;
    std::string command = NVRAM_COMMAND;
};

#endif
