// Text for a terminal: whatever could control it is escaped.
#include "libnvram/printable.h"

#include "libnvram/image.h"

namespace nvram {

Character first_character(std::string_view text) {
    const auto byte = [text](std::size_t place) {
        return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
    };
    const std::uint32_t first = byte(0);
    if (text.empty()) return {};
    if (first < 0x80) return {.length = 1, .code = first};
    const std::size_t length = first >= 0xf5 ? 0 : first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || length == 0) return {};
    std::uint32_t code = first & (0x7fU >> length);
    for (std::size_t place = 1; place < length; ++place) {
        if ((byte(place) & 0xc0) != 0x80) return {};
        code = code << 6 | (byte(place) & 0x3f);
    }
    // Overlong encodings, surrogates, and codes beyond the last one.
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    if (overlong || (code >= 0xd800 && code <= 0xdfff) || code > 0x10ffff) return {};
    return {.length = length, .code = code};
}

namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Unicode's general categories Cc, Cf, Zl and Zp, and what is no character.
constexpr Range unprintable[] = {
    {0x0000, 0x001f}, {0x007f, 0x009f}, {0x00ad, 0x00ad}, {0x0600, 0x0605},
    {0x061c, 0x061c}, {0x06dd, 0x06dd}, {0x070f, 0x070f}, {0x180e, 0x180e},
    {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f}, {0xfdd0, 0xfdef},
    {0xfeff, 0xfeff}, {0xfff0, 0xfffb}, {0xfffe, 0xffff}, {0xe0000, 0xe0fff},
};

}  // namespace

bool is_printable(std::uint32_t code) {
    for (const Range& range : unprintable)
        if (code >= range.first && code <= range.last) return false;
    return true;
}

void append_printable(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const Character character = first_character(text);
        const std::size_t length = character.length == 0 ? 1 : character.length;
        const bool plain =
            character.length != 0 && (character.code == '\t' || is_printable(character.code));
        for (const char c : text.substr(0, length)) {
            if (plain)
                out += c;
            else
                append_escaped_byte(out, c);
        }
        text.remove_prefix(length);
    }
}

std::string printable(std::string_view text) {
    std::string line;
    append_printable(line, text);
    return line;
}

}  // namespace nvram
