// The look-up of one key in a sorted image: bisection over its lines.
#include "libnvram/lookup.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "libnvram/store_io.h"

namespace nvram {

// The bisection looks at this many bytes at a time, and ends when no more than these are left. It
// also ends where they contain no whole key: in a very long line.
static constexpr std::size_t window = 2048;

// The place after the character's first occurrence, or the end.
static const char* after(const char* text, const char* end, char character) {
    const void* const found = std::memchr(text, character, static_cast<std::size_t>(end - text));
    return found != nullptr ? static_cast<const char*>(found) + 1 : end;
}

// The image of this size is the text or, if that is nullptr, in the file.
static Lines bisect(std::string_view key, std::size_t size, const char* text, int file) {
    std::size_t low = 0;  // both are beginnings of lines
    std::size_t high = size;
    while (high - low > window) {
        const std::size_t middle = low + (high - low) / 2;
        char read[window];
        const char* const bytes = text != nullptr ? text + middle : read;
        const std::size_t count = text != nullptr ? std::min(window, size - middle)
                                                  : io::read_at(file, middle, read, window);
        const char* const end = bytes + count;
        const char* const line = after(bytes, end, '\n');
        const char* const value = after(line, end, '=');
        const std::size_t beginning = middle + static_cast<std::size_t>(line - bytes);
        if (value == end || beginning >= high) break;
        const std::string_view seen(line, static_cast<std::size_t>(value - 1 - line));
        (seen.compare(key) <= 0 ? low : high) = beginning;
    }
    return {.begin = low, .end = high};
}

Lines find_lines_around(std::string_view key, std::string_view text) {
    return bisect(key, text.size(), text.data(), -1);
}

bool read_lines_around(std::string_view key, int file, std::string& text) {
    const std::size_t size = io::marked_size(file);
    if (size == 0) return false;
    const Lines lines = bisect(key, size, nullptr, file);
    text.resize(lines.end - lines.begin);
    // With the mark still there, nobody has written meanwhile.
    return io::read_at(file, lines.begin, text.data(), text.size()) == text.size() &&
           io::marked_size(file) == size;
}

}  // namespace nvram
