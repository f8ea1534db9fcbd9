// An open file, closed by the destructor.

#include "core/file.h"

#include <ctype.h>
#include <limits.h>
#include <stdarg.h>

#include "core/platform.h"

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
    // By hand: of a number beyond the range, scanf's "%lld" makes something else in each C library.
    FILE* const in = stream_.get();
    int c = fgetc(in);
    while (isspace(c)) c = fgetc(in);
    const int sign = c == '-' ? -1 : 1;
    if (c == '-' || c == '+') c = fgetc(in);
    if (!isdigit(c)) return std::nullopt;
    long long number = 0;
    bool beyond = false;
    for (; isdigit(c); c = fgetc(in))
        beyond |= __builtin_mul_overflow(number, 10, &number) ||
                  __builtin_add_overflow(number, sign * (c - '0'), &number);
    if (!beyond) return number;
    return sign < 0 ? LLONG_MIN : LLONG_MAX;
}
