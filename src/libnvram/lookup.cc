// The look-up of one key in a sorted image: bisection over the lines of the file.
#include "libnvram/lookup.h"

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

bool read_lines_around(std::string_view key, int file, std::string& text) {
    std::size_t low = 0;  // both are beginnings of lines
    std::size_t high = io::marked_size(file);
    if (high == 0) return false;
    while (high - low > window) {
        const std::size_t middle = low + (high - low) / 2;
        char bytes[window];
        const char* const end = bytes + io::read_at(file, middle, bytes, window);
        const char* const line = after(bytes, end, '\n');
        const char* const value = after(line, end, '=');
        const std::size_t beginning = middle + static_cast<std::size_t>(line - bytes);
        if (value == end || beginning >= high) break;
        const std::string_view seen(line, static_cast<std::size_t>(value - 1 - line));
        (seen.compare(key) <= 0 ? low : high) = beginning;
    }
    text.resize(high - low);
    return io::read_at(file, low, text.data(), text.size()) == text.size();
}

}  // namespace nvram
