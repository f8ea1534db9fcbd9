// Texts as JSON.
#include "nvram/json.h"

#include <cstdint>
#include <cstdio>

#include "libnvram/image.h"
#include "libnvram/printable.h"

namespace nvram {

static void append_unit(std::string& out, std::uint32_t unit) {
    char escape[12];
    std::snprintf(escape, sizeof escape, "\\u%04x", unit);
    out += escape;
}

void append_json(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const Character character = first_character(text);
        if (character.length == 0) {
            out += '\\';
            append_escaped_byte(out, text[0]);
        } else if (!is_printable(character.code)) {
            // Beyond U+FFFF a pair of surrogates.
            const bool pair = character.code > 0xffff;
            if (pair) append_unit(out, 0xd7c0 + (character.code >> 10));
            append_unit(out, pair ? 0xdc00 + (character.code & 0x3ff) : character.code);
        } else {
            if (text[0] == '"' || text[0] == '\\') out += '\\';
            out += text.substr(0, character.length);
        }
        text.remove_prefix(character.length == 0 ? 1 : character.length);
    }
    out += '"';
}

void append_json_name(std::string& out, std::string_view name) {
    if (out.back() != '{') out += ',';
    append_json(out, name);
    out += ':';
}

void append_json_words(std::string& out, std::string_view words) {
    out += '[';
    while (!words.empty()) {
        const std::size_t end = words.find(' ');
        append_json(out, words.substr(0, end));
        words.remove_prefix(end == std::string_view::npos ? words.size() : end + 1);
        if (!words.empty()) out += ',';
    }
    out += ']';
}

}  // namespace nvram
