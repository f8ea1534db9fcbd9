// Text: composing, numbers as the settings hold them, lists.

#include "core/text.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

namespace {

int within_int(long long number) {
    if (number > INT_MAX) return INT_MAX;
    if (number < INT_MIN) return INT_MIN;
    return static_cast<int>(number);
}

}  // namespace

std::string format_list(const char* text, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = vsnprintf(nullptr, 0, text, measured);
    va_end(measured);
    if (length < 0) return {};

    std::string result(static_cast<size_t>(length), '\0');
    vsnprintf(result.data(), result.size() + 1, text, arguments);
    return result;
}

std::string format(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    std::string result = format_list(text, arguments);
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

int leading_int(const char* text) {
    return within_int(strtoll(text, nullptr, 10));
}

std::optional<long long> scan_number(const char* text) {
    char* end = nullptr;
    errno = 0;
    const long long number = strtoll(text, &end, 10);
    if (end == text || errno == ERANGE) return std::nullopt;
    return number;
}

bool scan_int(const char*& text, char follower, int& number) {
    char* end = nullptr;
    const long long read = strtoll(text, &end, 10);
    if (end == text) return false;
    number = within_int(read);
    text = end;
    if (follower == '\0') return true;
    return *text++ == follower;
}

void strccpy(std::string& dest, const char* src, char delimiter) {
    dest.clear();
    if (!src) return;
    while (*src && *src != delimiter) dest += *src++;
}

std::string_view take_field(std::string_view& rest, char delimiter) {
    const size_t end = rest.find(delimiter);
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return field;
}
