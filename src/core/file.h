// An open file, closed by the destructor.
#ifndef RC_CORE_FILE_H
#define RC_CORE_FILE_H

#include <stddef.h>
#include <stdio.h>

#include <memory>
#include <optional>
#include <span>
#include <string_view>

class File {
  public:
    explicit File(FILE* stream) : stream_(stream) {}
    explicit operator bool() const { return stream_ != nullptr; }

    // Closes the file early, where the order of closing matters.
    void close() { stream_.reset(); }

    // Writing. Errors are not reported: a full disk leaves a short file, as with the shell's echo.
    // print and put return the number of bytes, as vfprintf(3) does.
    [[gnu::format(printf, 2, 3)]] int print(const char* text, ...);
    int put(std::string_view text);
    void write(std::span<const unsigned char> bytes);

    // One line with its newline, at most line.size() - 1 bytes, as fgets(3) reads it. False at the
    // end.
    bool read_line(std::span<char> line);
    // Reads up to bytes.size() bytes; returns the number of bytes read.
    size_t read(std::span<unsigned char> bytes);
    // Moves to an offset from the start.
    bool seek(long offset);
    // The decimal number at the start of the file, after any number of blanks; nullopt if the file
    // begins otherwise. Clamped to the range of long long.
    std::optional<long long> read_number();

  private:
    struct Close {
        void operator()(FILE* stream) const { fclose(stream); }
    };
    std::unique_ptr<FILE, Close> stream_;
};

// Opens a file as fopen(3) does; the File is false on failure.
File open_file(const char* path, const char* mode);
// The same for a file with a password that only root reads.
File open_secret_file(const char* path, const char* mode);

#endif
