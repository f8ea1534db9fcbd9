// Escaping for an HTML page.

#include "plan/report/html.h"

#include <fmt/format.h>

#include <charconv>

#include "plan/router/transcript.h"

namespace {

constexpr std::string_view base64_digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Three bytes as four digits; missing bytes as '=' (RFC 4648).
void append_base64(std::string& out, const unsigned (&bytes)[3], size_t count) {
    const unsigned group = bytes[0] << 16 | bytes[1] << 8 | bytes[2];
    for (size_t digit = 0; digit < 4; digit++)
        out += digit <= count ? base64_digits[group >> (18 - 6 * digit) & 63] : '=';
}

}  // namespace

std::string html_escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (c == '\'')
            out += "&#39;";
        else if (c < 0x20 || c > 0x7e)
            out += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else
            out += c;
    }
    return out;
}

std::string shown_line(std::string_view bytes) {
    return html_escaped(escape_line(bytes));
}

std::string anchor(std::string_view name) {
    std::string out;
    for (const char c : name) {
        if (is_plain(c))
            out += c;
        else
            out += fmt::format("-{:02x}", static_cast<unsigned char>(c));
    }
    return out;
}

std::string policy_source(std::string_view sha256_digits) {
    std::string out = "'sha256-";
    while (!sha256_digits.empty()) {
        unsigned bytes[3] = {};
        size_t count = 0;
        for (; count < 3 && sha256_digits.size() >= 2; count++) {
            std::from_chars(sha256_digits.data(), sha256_digits.data() + 2, bytes[count], 16);
            sha256_digits.remove_prefix(2);
        }
        if (count == 0) break;
        append_base64(out, bytes, count);
    }
    return out + "'";
}
