// An open file, closed by the destructor.

#include "core/file.h"

#include <stdarg.h>

#include "core/platform.h"
#include "core/text.h"

File open_file(const char* path, const char* mode) {
    return File(platform::open_file(path, mode));
}

File open_secret_file(const char* path, const char* mode) {
    return File(platform::open_secret_file(path, mode));
}

int File::print(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    const int written = vfprintf(stream_.get(), text, arguments);
    va_end(arguments);
    return written;
}

int File::put(std::string_view text) {
    return static_cast<int>(fwrite(text.data(), 1, text.size(), stream_.get()));
}

void File::write(std::span<const unsigned char> bytes) {
    fwrite(bytes.data(), 1, bytes.size(), stream_.get());
}

bool File::read_line(std::span<char> line) {
    return fgets(line.data(), static_cast<int>(line.size()), stream_.get()) != nullptr;
}

size_t File::read(std::span<unsigned char> bytes) {
    return fread(bytes.data(), 1, bytes.size(), stream_.get());
}

bool File::seek(long offset) {
    return fseek(stream_.get(), offset, SEEK_SET) == 0;
}

std::optional<long long> File::read_number() {
    // Of a number beyond the range, scanf's "%lld" makes something else in each C library.
    char digits[64];
    if (fscanf(stream_.get(), " %63[-+0123456789]", digits) != 1) return std::nullopt;
    return scan_number(digits);
}
