// Replaces the secrets among the settings in any text.
//
// A run of part_length or more bytes that is part of a secret consists of pieces of just that
// length which are parts of it. So a text is read once, and each of its pieces is looked up.
#include "nvram/mask.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nvram {

namespace {

// A piece is up to part_length bytes and, in the highest byte, their number.
using Piece = std::uint64_t;

// A hash table with open addressing; 0 is a free place. There is room for some kilobytes of
// secrets.
Piece pieces[65536];
std::size_t free_places = std::size(pieces) / 2;
// A bit for each length that a piece has.
unsigned lengths = 0;

Piece& place_of(Piece piece) {
    // Multiplicative hashing.
    const auto hash = static_cast<std::uint32_t>(piece ^ piece >> 27) * 0x9e3779b1U;
    std::size_t place = hash >> 16;
    while (pieces[place] != 0 && pieces[place] != piece) place = (place + 1) % std::size(pieces);
    return pieces[place];
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_letter_or_digit(char c) {
    return is_digit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}

// The last bytes of a text, in lower case.
struct Window {
    std::uint64_t bytes = 0;
    std::size_t count = 0;

    void take(char c) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
        bytes = bytes << 8 | static_cast<unsigned char>(c);
        ++count;
    }
    // The byte before the last ones.
    char before(std::size_t length) const {
        std::uint64_t rest = bytes;
        while (length-- > 0) rest >>= 8;
        return static_cast<char>(rest);
    }
    Piece piece(std::size_t length) const {
        Piece all = ~Piece{0};
        for (std::size_t i = length; i < sizeof all; ++i) all >>= 8;
        return (bytes & all) | Piece{length << 24} << 32;
    }
};

// Quoting puts a backslash before a character, '\'' for a quote or %% for %.
bool is_quoting(char c, char before) {
    return c == '\\' || (c == before && (c == '\'' || c == '"' || c == '%'));
}

// Short secrets are often words and numbers: one of up to three characters counts if no letter or
// digit is next to it, and a longer number if it is not part of another one.
bool stands_alone(const Window& window, std::size_t length, char next) {
    bool (*const joins)(char) = length <= 3 ? is_letter_or_digit : is_digit;
    if (!joins(window.before(length)) && !joins(next)) return true;
    for (std::size_t i = 0; i < length; ++i)
        if (!joins(window.before(i))) return length > 3;
    return false;
}

void put(Piece piece, std::size_t length) {
    Piece& place = place_of(piece);
    if (place != 0 || free_places == 0) return;
    --free_places;
    place = piece;
    lengths |= 1U << length;
}

// A secret, or a text in which its parts count only.
void add_text(std::string_view text, bool unquoted, bool whole) {
    Window window;
    for (const char c : text) {
        if (unquoted && is_quoting(c, window.before(0))) continue;
        window.take(c);
        if (window.count >= part_length) put(window.piece(part_length), part_length);
    }
    if (whole && window.count < part_length) put(window.piece(window.count), window.count);
}

// The characters of base64 that depend on the secret alone, if so many bytes precede it.
std::string in_base64(std::string_view secret, std::size_t preceding) {
    std::string text;
    for (std::size_t bit = preceding * 4 % 6; bit + 6 <= 8 * secret.size(); bit += 6) {
        unsigned bits = static_cast<unsigned char>(secret[bit / 8]);
        bits <<= 8;
        if (bit / 8 + 1 < secret.size()) bits |= static_cast<unsigned char>(secret[bit / 8 + 1]);
        text +=
            "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz0123456789+/"[bits >>
                                                                                   (10 - bit % 8) &
                                                                               63];
    }
    return text;
}

void mark_text(std::string_view text, bool unquoted, bool parts, std::string& marks) {
    Window window;
    // Where the window's bytes stand, each at its number modulo 8.
    std::size_t places[8];
    // With parts, where the value after the line's "=" begins.
    std::size_t start = 0;
    bool in_key = parts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') in_key = parts;
        if (unquoted && is_quoting(c, window.before(0))) continue;
        places[window.count % 8] = i;
        window.take(c);
        for (std::size_t length = part_length; length > 0; --length) {
            if ((lengths >> length & 1) == 0 || length > window.count ||
                place_of(window.piece(length)) == 0)
                continue;
            if (length < part_length &&
                (parts || !stands_alone(window, length, i + 1 < text.size() ? text[i + 1] : '\0')))
                continue;
            for (std::size_t at = places[(window.count - length) % 8]; at <= i; ++at) marks[at] = 1;
        }
        if (!in_key || c != '=') continue;
        // A key is no secret, though a part of it may be one.
        for (start = i; start > 0 && text[start] != '\n'; --start) marks[start] = 0;
        in_key = false;
    }
}

}  // namespace

bool add_secret(std::string_view secret) {
    add_text(secret, false, true);
    add_text(secret, true, true);
    for (std::size_t preceding = 0; preceding < 3; ++preceding)
        add_text(in_base64(secret, preceding), false, false);
    std::string digits;
    for (const char c : secret)
        for (const int shift : {4, 0}) digits += "0123456789abcdef"[c >> shift & 15];
    add_text(digits, false, false);
    return free_places > 0;
}

std::string marks_of(std::string_view text, bool parts) {
    std::string marks(text);
    for (char& mark : marks) mark = 0;
    mark_text(text, false, parts, marks);
    mark_text(text, true, parts, marks);
    return marks;
}

}  // namespace nvram
