// The settings' text image: parsed in place, looked up, changed, written.
#include "libnvram/image.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace nvram {

// A bit for each character.
struct CharacterSet {
    std::uint32_t words[8] = {};

    constexpr explicit CharacterSet(std::string_view characters) {
        for (const char c : characters) words[c >> 5] |= 1U << (c & 31);
    }
    bool has(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return (words[byte >> 5] >> (byte & 31) & 1) != 0;
    }
};
static constexpr CharacterSet key_characters(
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.");

bool valid_key(std::string_view key) {
    for (const char c : key)
        if (!key_characters.has(c)) return false;
    return !key.empty() && key.size() <= key_limit;
}

static int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Unescapes in place and returns the new end. A backslash that begins no known escape was typed by
// a user and stays; so does \x00, since no value contains a zero byte.
static char* unescape(char* text, const char* end) {
    char* out = text;
    const char* in = text;
    for (;;) {
        // Most values contain no escape, and lists have long runs without one; memchr skips them.
        const auto rest = static_cast<std::size_t>(end - in);
        const void* const backslash = std::memchr(in, '\\', rest);
        const std::size_t plain =
            backslash != nullptr
                ? static_cast<std::size_t>(static_cast<const char*>(backslash) - in)
                : rest;
        if (out != in) std::memmove(out, in, plain);
        out += plain;
        in += plain;
        if (in == end) return out;
        if (*in == '\\' && end - in >= 2 && in[1] == '\\') {
            *out++ = '\\';
            in += 2;
            continue;
        }
        if (*in == '\\' && end - in >= 4 && in[1] == 'x') {
            const int high = hex_digit(in[2]);
            const int low = hex_digit(in[3]);
            if (high >= 0 && low >= 0 && high + low > 0) {
                *out++ = static_cast<char>(high * 16 + low);
                in += 4;
                continue;
            }
        }
        *out++ = *in++;
    }
}

// nullptr, or why the line is bad. The byte at end, which is in no key, is overwritten with a zero
// byte.
static const char* parse_line(char* line, char* end, Entry& entry) {
    const auto length = static_cast<std::size_t>(end - line);
    if (std::memchr(line, '\0', length) != nullptr) return "contains a zero byte";
    char* equals = line;
    while (key_characters.has(*equals)) ++equals;
    entry.key = std::string_view(line, static_cast<std::size_t>(equals - line));
    if (*equals != '=' || entry.key.empty() || entry.key.size() > key_limit)
        return std::memchr(line, '=', length) == nullptr
                   ? "is not KEY=VALUE"
                   : "has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - .";

    char* const value_end = unescape(equals + 1, end);
    entry.value = std::string_view(equals + 1, static_cast<std::size_t>(value_end - equals - 1));
    if (entry.value.size() > value_limit) return "has a value longer than 65536 bytes";
    *value_end = '\0';
    return nullptr;
}

// Lines with the same key are ordered by position, so that the last of them is kept.
static int compare(const void* left, const void* right) {
    const Entry& a = *static_cast<const Entry*>(left);
    const Entry& b = *static_cast<const Entry*>(right);
    const int order = a.key.compare(b.key);
    if (order != 0) return order;
    return a.key.data() < b.key.data() ? -1 : 1;
}

// The C library's sort is two kilobytes smaller than the template, and an image that we wrote is
// already sorted.
static void sort_and_keep_last(std::vector<Entry>& entries) {
    std::qsort(entries.data(), entries.size(), sizeof(Entry), compare);
    Entry* out = entries.data();
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (i + 1 == entries.size() || entries[i].key != entries[i + 1].key) *out++ = entries[i];
    entries.erase(entries.begin() + (out - entries.data()), entries.end());
}

Image::Image(std::string&& text, std::vector<BadLine>* bad_lines, Lines lines)
    : bytes_(std::move(text)), lines_(lines) {
    if (lines_.begin == lines_.end) lines_.end = bytes_.size();
    // Longer than the in-object buffer of any library's std::string.
    constexpr std::size_t long_enough = 64;
    if (bytes_.capacity() < long_enough) bytes_.reserve(long_enough);
    bytes_.push_back('\n');  // the last line may lack its end

    // Most lines are longer, so that the entries are seldom copied to a larger place.
    constexpr std::size_t short_line = 16;
    entries_.reserve((lines_.end - lines_.begin) / short_line);
    bool sorted = true;
    unsigned number = 0;
    const char* const end = bytes_.data() + lines_.end;
    for (char* line = bytes_.data() + lines_.begin; line < end;) {
        const auto rest = static_cast<std::size_t>(end + 1 - line);
        char* const line_end = static_cast<char*>(std::memchr(line, '\n', rest));
        ++number;
        if (line != line_end && *line != '#') {
            Entry entry;
            const char* const reason = parse_line(line, line_end, entry);
            if (reason == nullptr) {
                if (!entries_.empty() && entries_.back().key >= entry.key) sorted = false;
                entries_.push_back(entry);
            } else if (bad_lines != nullptr) {
                bad_lines->push_back({number, reason});
            }
        }
        line = line_end + 1;
    }
    if (!sorted) sort_and_keep_last(entries_);
}

static bool before(const Entry& entry, std::string_view key) {
    return entry.key < key;
}

std::optional<std::string_view> Image::get(std::string_view key) const {
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), key, before);
    if (place == entries_.end() || place->key != key) return std::nullopt;
    return place->value;
}

bool Image::set(std::string_view key, std::string_view value) {
    if (!valid_key(key) || value.size() > value_limit) return false;
    apply({key, value});
    *this = Image(text());
    return true;
}

std::string Image::text() const {
    std::string whole = serialise(entries_, std::string(bytes_, 0, lines_.begin));
    whole.append(bytes_, lines_.end, bytes_.size() - 1 - lines_.end);
    return whole;
}

bool Image::apply(const Entry& change) {
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), change.key, before);
    const bool present = place != entries_.end() && place->key == change.key;
    if (change.value.data() == nullptr) {
        if (present) entries_.erase(place);
        return present;
    }
    if (present && place->value == change.value) return false;
    if (present) {
        place->value = change.value;
    } else {
        // vector::insert would do the same in 160 bytes more.
        const auto index = place - entries_.begin();
        entries_.push_back(change);
        const auto new_place = entries_.begin() + index;
        std::move_backward(new_place, entries_.end() - 1, entries_.end());
        *new_place = change;
    }
    return true;
}

static bool is_plain(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte != 0x7f && byte != '\\';
}

// The most bytes that an escaped character takes: \x0a.
static constexpr std::size_t longest_escape = 4;

static char* write_escaped_byte(char* out, char c) {
    static constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    *out++ = '\\';
    *out++ = 'x';
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 15];
    return out;
}

// To a place with room for the longest escapes; returns the end of what is written.
static char* write_escaped(char* out, std::string_view value) {
    for (const char c : value) {
        if (is_plain(c)) {
            *out++ = c;
        } else if (c == '\\') {
            *out++ = c;
            *out++ = c;
        } else {
            out = write_escaped_byte(out, c);
        }
    }
    return out;
}

void append_escaped_byte(std::string& out, char c) {
    char text[longest_escape];
    write_escaped_byte(text, c);
    out.append(text, sizeof text);
}

void append_escaped(std::string& out, std::string_view value) {
    const std::size_t before = out.size();
    out.resize(before + longest_escape * value.size());
    const char* const end = write_escaped(out.data() + before, value);
    out.resize(static_cast<std::size_t>(end - out.data()));
}

std::string serialise(const std::vector<Entry>& entries, std::string text) {
    std::size_t left = 0;  // of the entries that are not written yet, without escapes
    for (const Entry& entry : entries) left += entry.key.size() + entry.value.size() + 2;
    std::size_t used = text.size();
    for (const Entry& entry : entries) {
        const std::size_t most = entry.key.size() + longest_escape * entry.value.size() + 2;
        // Escapes are rare; with this much to spare, an image of short values is allocated once.
        constexpr std::size_t spare = 4096;
        if (text.size() - used < most) text.resize(used + left + most + spare);
        char* out = text.data() + used;
        for (const char c : entry.key) *out++ = c;
        *out++ = '=';
        out = write_escaped(out, entry.value);
        *out++ = '\n';
        used = static_cast<std::size_t>(out - text.data());
        left -= entry.key.size() + entry.value.size() + 2;
    }
    text.resize(used);
    return text;
}

}  // namespace nvram
