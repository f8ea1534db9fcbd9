// Finds the secrets among the settings in any text.
//
// A run of part_length or more bytes that is part of a secret consists of pieces of just that
// length which are parts of it. So a text is read once, and each of its pieces is looked up.
#include "nvram/mask.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nvram {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_letter_or_digit(char c) {
    return is_digit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}

// Quoting puts a backslash before a character, '\'' for a quote or %% for %.
bool is_quoting(char c, char before) {
    return c == '\\' || (c == before && (c == '\'' || c == '"' || c == '%'));
}

#if RC_NVRAM_TABLE
// The characters of base64 that depend on the secret alone, if so many bytes precede it; in lower
// case.
std::string in_base64(std::string_view secret, std::size_t preceding) {
    std::string text;
    for (std::size_t bit = preceding * 4 % 6; bit + 6 <= 8 * secret.size(); bit += 6) {
        unsigned bits = static_cast<unsigned char>(secret[bit / 8]);
        bits <<= 8;
        if (bit / 8 + 1 < secret.size()) bits |= static_cast<unsigned char>(secret[bit / 8 + 1]);
        bits = bits >> (10 - bit % 8) & 63;
        text += "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz0123456789+/"[bits];
    }
    return text;
}
#endif

}  // namespace

// The last bytes of a text, in lower case.
struct Mask::Window {
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

    // Short secrets are often words and numbers: one of up to three characters counts if no letter
    // or digit is next to it, and a longer number if it is not part of another one.
    bool stands_alone(char next, std::size_t length) const {
        bool (*const joins)(char) = length <= 3 ? is_letter_or_digit : is_digit;
        if (!joins(before(length)) && !joins(next)) return true;
        for (std::size_t i = 0; i < length; ++i)
            if (!joins(before(i))) return length > 3;
        return false;
    }
};

Mask::Piece& Mask::place_of(Piece piece) {
    // Multiplicative hashing.
    const auto hash = static_cast<std::uint32_t>(piece ^ piece >> 27) * 0x9e3779b1U;
    std::size_t place = hash >> 16;
    while (pieces_[place] != 0 && pieces_[place] != piece) place = (place + 1) % std::size(pieces_);
    return pieces_[place];
}

// Half of the places stay free, so that a search ends soon.
void Mask::put(Piece piece, std::size_t length) {
    Piece& place = place_of(piece);
    if (place != 0 || count_ == std::size(pieces_) / 2) return;
    ++count_;
    place = piece;
    lengths_ |= 1U << length;
}

// A secret, or a text in which its parts count only.
void Mask::add_text(std::string_view text, bool unquoted, bool whole) {
    Window window;
    for (const char c : text) {
        if (unquoted && is_quoting(c, window.before(0))) continue;
        window.take(c);
        if (window.count >= part_length) put(window.piece(part_length), part_length);
    }
    if (whole && window.count < part_length) put(window.piece(window.count), window.count);
}

void Mask::mark(const std::string& text, bool unquoted, bool parts, std::string& marks) {
    Window window;
    // Where the window's bytes stand, each at its number modulo 8.
    std::size_t places[8];
    std::size_t line = 0;
    bool in_key = parts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            line = i + 1;
            in_key = parts;
        }
        if (unquoted && is_quoting(c, window.before(0))) continue;
        places[window.count % 8] = i;
        window.take(c);
        for (std::size_t length = part_length; length > 0; --length) {
            if ((lengths_ >> length & 1) == 0 || length > window.count ||
                place_of(window.piece(length)) == 0)
                continue;
            if (length < part_length && (parts || !window.stands_alone(text[i + 1], length)))
                continue;
            const std::size_t from = places[(window.count - length) % 8];
            std::memset(&marks[from], 1, i + 1 - from);
        }
        if (!in_key || c != '=') continue;
        // A key is no secret, though a part of it may be one.
        std::memset(&marks[line], 0, i + 1 - line);
        window.count = 0;
        in_key = false;
    }
}

bool Mask::add(std::string_view secret) {
    add_text(secret, false, true);
    add_text(secret, true, true);
#if RC_NVRAM_TABLE
    for (std::size_t preceding = 0; preceding < 3; ++preceding)
        add_text(in_base64(secret, preceding), false, false);
    std::string digits;
    for (const char c : secret)
        for (const int shift : {4, 0}) digits += "0123456789abcdef"[c >> shift & 15];
    add_text(digits, false, false);
#endif
    return count_ < std::size(pieces_) / 2;
}

std::string Mask::marks(const std::string& text, bool parts) {
    std::string marks(text);
    for (char& byte : marks) byte = 0;
    mark(text, false, parts, marks);
    mark(text, true, parts, marks);
    return marks;
}

}  // namespace nvram
