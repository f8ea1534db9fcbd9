// Text: composing, numbers as the settings hold them, lists.

#include "core/text.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace {

// What fits is written, all of it is counted.
struct Composed {
    char* line;
    size_t size;
    size_t length = 0;

    void add(std::string_view part) {
        if (length < size) memcpy(line + length, part.data(), std::min(part.size(), size - length));
        length += part.size();
    }

    void add(const char* part) { add(std::string_view(part ? part : "(null)")); }

    void add(int number) {
        char digits[sizeof "-2147483648"];
        char* const end = digits + sizeof digits;
        char* first = end;
        // Negated as an unsigned number, which the lowest int survives.
        unsigned rest =
            number < 0 ? 0u - static_cast<unsigned>(number) : static_cast<unsigned>(number);
        do *--first = static_cast<char>('0' + rest % 10);
        while ((rest /= 10) != 0);
        if (number < 0) *--first = '-';
        add({first, static_cast<size_t>(end - first)});
    }
};

// False when there is a conversion that only the C library knows.
bool compose_simple(Composed& composed, const char* text, va_list arguments) {
    while (const char* conversion = strchr(text, '%')) {
        composed.add({text, static_cast<size_t>(conversion - text)});
        const char kind = conversion[1];
        if (kind == 's')
            composed.add(va_arg(arguments, const char*));
        else if (kind == 'd')
            composed.add(va_arg(arguments, int));
        else if (kind == '%')
            composed.add("%");
        else
            return false;
        text = conversion + 2;
    }
    composed.add(text);
    return true;
}

int within_int(long long number) {
    if (number > INT_MAX) return INT_MAX;
    if (number < INT_MIN) return INT_MIN;
    return static_cast<int>(number);
}

}  // namespace

size_t compose(char* line, size_t size, const char* text, va_list arguments) {
    Composed composed = {.line = line, .size = size - 1};
    va_list copy;
    va_copy(copy, arguments);
    const bool simple = compose_simple(composed, text, copy);
    va_end(copy);
    if (simple) {
        line[std::min(composed.length, composed.size)] = '\0';
        return composed.length;
    }

    va_copy(copy, arguments);
    const int length = vsnprintf(line, size, text, copy);
    va_end(copy);
    return length < 0 ? 0 : static_cast<size_t>(length);
}

std::string format_list(const char* text, va_list arguments) {
    char line[256];
    const size_t length = compose(line, sizeof line, text, arguments);
    if (length < sizeof line) return {line, length};

    std::string result(length, '\0');
    compose(result.data(), length + 1, text, arguments);
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
