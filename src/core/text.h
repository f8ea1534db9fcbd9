// Text: composing, numbers as the settings hold them, lists.
#ifndef RC_CORE_TEXT_H
#define RC_CORE_TEXT_H

#include <stdarg.h>

#include <optional>
#include <string>
#include <string_view>

// The text that printf would print, as long as it is.
[[gnu::format(printf, 1, 2)]] std::string format(const char* text, ...);

// vsnprintf(3), done here where the text has nothing but %s, %d, %u and %%, as almost every line of
// ours: left to the C library, rc firewall create with all lists full takes 40 % more instructions.
// The arguments are not used up.
[[gnu::format(printf, 3, 0)]] size_t compose(char* line, size_t size, const char* text,
                                             va_list arguments);

// The text as printf prints it when it stands as its own format: "%%" becomes "%", every other "%"
// is itself.
std::string percent_collapsed(std::string_view text);

// The decimal number at the start of a text, as atoi(3) reads it: 0 when there is none. Held within
// the range of int.
int leading_int(std::string_view text);

// The decimal number that scanf's "%ld" would read at the start of a text; nothing when there is
// none or when it is beyond long long.
std::optional<long long> scan_number(const char* text);

// Takes a number off the front as scanf's "%d" does, and the character that must follow it; '\0'
// lets anything follow. Held within int. False when it does not read; text is then anywhere.
bool scan_int(std::string_view& text, char follower, int& number);

// Takes the text before the next delimiter off the front of rest; the delimiter goes with it.
std::string_view take_field(std::string_view& rest, char delimiter);

// The start of a text, at most limit bytes of it.
inline std::string_view cut(std::string_view text, size_t limit) {
    return text.substr(0, limit);
}

inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

#endif
