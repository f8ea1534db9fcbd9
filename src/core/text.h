// Text: composing, numbers in settings, lists.
#ifndef RC_CORE_TEXT_H
#define RC_CORE_TEXT_H

#include <stdarg.h>

#include <optional>
#include <string>
#include <string_view>

// The text that printf would print, of any length.
[[gnu::format(printf, 1, 2)]] std::string format(const char* text, ...);

// Same as vsnprintf(3), but takes a third of its time for formats with only %s, %d, %u and %%,
// which almost all of our lines have. The arguments are not consumed.
[[gnu::format(printf, 3, 0)]] size_t compose(char* line, size_t size, const char* text,
                                             va_list arguments);

// The text as printf prints it when used as its own format: "%%" becomes "%", every other "%"
// stays.
std::string percent_collapsed(std::string_view text);

// The decimal number at the start of a text, as atoi(3) reads it: 0 if the text does not begin with
// a number. Clamped to the range of int.
int leading_int(std::string_view text);

// The decimal number at the start of a text, after blanks; nullopt if the text begins otherwise.
// Clamped to the range of long long.
std::optional<long long> scan_number(const char* text);

// Consumes a number as scanf's "%d" does, and the character that must follow it; '\0' accepts any.
// Clamped to int. False if the text does not begin so; text is then unspecified.
bool scan_int(std::string_view& text, char follower, int& number);

// Removes the text before the next delimiter, and the delimiter, from the front of rest. Returns
// that text.
std::string_view take_field(std::string_view& rest, char delimiter);

// The start of a text, at most limit bytes of it.
inline std::string_view cut(std::string_view text, size_t limit) {
    return text.substr(0, limit);
}

inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

#endif
