// The forms that values have.
#include "settings/forms.h"

#include <algorithm>

#include "core/ipv4.h"
#include "core/limits.h"

namespace nvram {

namespace {

constexpr std::size_t interface_name_limit = 15;
constexpr std::size_t host_name_limit = 253;
constexpr std::size_t host_label_limit = 63;
constexpr std::int32_t highest_port = 65535;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_hex_digit(char c) {
    return is_digit(c) || (lower(c) >= 'a' && lower(c) <= 'f');
}

// The kernel's own rule, without the names of folders.
bool is_interface(std::string_view text) {
    if (text.empty() || text.size() > interface_name_limit) return false;
    if (text == "." || text == "..") return false;
    for (const char c : text)
        if (c <= ' ' || c > '~' || c == '/') return false;
    return true;
}

bool is_host_label(std::string_view label) {
    if (label.empty() || label.size() > host_label_limit) return false;
    if (label.front() == '-' || label.back() == '-') return false;
    for (const char c : label)
        if (!is_digit(c) && !is_letter(c) && c != '-') return false;
    return true;
}

// A text of digits and dots only is meant to be an address.
bool is_meant_as_address(std::string_view text) {
    return text.find_first_not_of("0123456789.") == std::string_view::npos;
}

bool is_host_name(std::string_view text) {
    if (text.size() > host_name_limit) return false;
    while (true) {
        const std::size_t dot = text.find('.');
        if (!is_host_label(text.substr(0, dot))) return false;
        if (dot == std::string_view::npos) return true;
        text.remove_prefix(dot + 1);
    }
}

bool is_netmask(std::string_view text) {
    const std::optional<std::uint32_t> mask = parse_quad(text);
    return mask && is_mask(*mask);
}

bool is_word_of(std::string_view text, const char* choices) {
    for (const std::string_view word : words_of(choices))
        if (word == text) return true;
    return false;
}

std::string joined(const char* choices) {
    std::string list;
    for (const std::string_view word : words_of(choices)) {
        if (!list.empty()) list += ", ";
        list += word;
    }
    return list;
}

std::string range_in_words(std::int32_t low, std::int32_t high) {
    return " from " + std::to_string(low) + " to " + std::to_string(high);
}

// Without the words that are legal too.
std::string plain_form_text(const Limits& limits) {
    switch (limits.form) {
        case Form::Text:
            return "a text";
        case Form::Flag:
            return "1 (on) or 0 (off)";
        case Form::Number:
            if (limits.low == 0 && limits.high == 0) return "a number";
            return "a number" + range_in_words(limits.low, limits.high);
        case Form::Choice:
            return "one of " + joined(limits.choices);
        case Form::Address:
        case Form::Quad:
            return "an IPv4 address such as 192.168.1.1";
        case Form::Netmask:
            return "a netmask such as 255.255.255.0";
        case Form::Mac:
            return "a MAC address such as 00:11:22:33:44:55";
        case Form::Interface:
            return "an interface name of 1 to 15 characters";
        case Form::Host:
            return "a host name or an IPv4 address";
        case Form::Hex:
            if (limits.low == limits.high)
                return std::to_string(limits.low) + " hexadecimal digits";
            return std::to_string(limits.low) + " to " + std::to_string(limits.high) +
                   " hexadecimal digits";
        case Form::Record:
            break;
    }
    return "a record";
}

std::string with_choices(std::string text, const Limits& limits) {
    if (limits.form != Form::Choice && *limits.choices != '\0')
        text += ", or one of " + joined(limits.choices);
    return text;
}

// The form as it follows "is not an IPv4 address; expected": without the name of the form.
std::string expected_text(const Limits& limits) {
    switch (limits.form) {
        case Form::Address:
        case Form::Quad:
            return with_choices("four numbers, such as 192.168.1.1", limits);
        case Form::Netmask:
            return "four numbers, such as 255.255.255.0";
        case Form::Mac:
            return "six pairs of hexadecimal digits, such as 00:11:22:33:44:55";
        default:
            return form_text(limits);
    }
}

std::string number_problem(const Limits& limits, std::string_view text) {
    const std::optional<long long> number = plain_number(text);
    if (!number) return "is not a number";
    const bool any = limits.low == 0 && limits.high == 0;
    if (!any && (*number < limits.low || *number > limits.high)) return "is out of range";
    // Programs that read numbers in C's notation take a zero in front for octal.
    if (limits.high == highest_port && text.size() > 1 && text[0] == '0')
        return "starts with 0, which iptables reads as octal";
    return "";
}

// Four numbers of which one starts with 0.
bool is_octal_quad(std::string_view text) {
    std::string decimal;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool starts = i == 0 || text[i - 1] == '.';
        const bool more = i + 1 < text.size() && is_digit(text[i + 1]);
        if (text[i] != '0' || !more || (!starts && !decimal.empty() && is_digit(decimal.back())))
            decimal += text[i];
    }
    return decimal != text && parse_quad(decimal).has_value();
}

std::string quad_problem(std::string_view text, const char* otherwise) {
    if (parse_quad(text)) return "";
    return is_octal_quad(text) ? "has a number that starts with 0, which programs read as octal"
                               : otherwise;
}

std::string address_problem(std::string_view text, const char* otherwise) {
    const std::optional<std::uint32_t> address = parse_quad(text);
    if (!address) return quad_problem(text, otherwise);
    return *address == 0 ? "" : unusable_address(*address);
}

std::string host_problem(std::string_view text) {
    constexpr const char* neither = "is neither a host name nor an IPv4 address";
    if (is_meant_as_address(text)) return address_problem(text, neither);
    return is_host_name(text) ? "" : neither;
}

// The lowest bit of the first byte marks the address of a group, the broadcast's among them.
std::string mac_problem(std::string_view text) {
    if (!is_mac(text)) return "is not a MAC address";
    if (text.find_first_not_of("0:") == std::string_view::npos)
        return "is not the address of a device: it is all zeros";
    if (std::string_view("13579bBdDfF").find(text[1]) != std::string_view::npos)
        return "is not the address of one device: its second digit is odd";
    return "";
}

std::string text_problem(std::string_view text) {
    return std::any_of(text.begin(), text.end(), is_control) ? "contains a control character" : "";
}

std::string netmask_problem(std::string_view text) {
    if (!parse_quad(text)) return quad_problem(text, "is not a netmask");
    return is_netmask(text) ? "" : "is not a netmask: its ones are not contiguous";
}

std::string hex_problem(const Limits& limits, std::string_view text) {
    if (!is_hex(text)) return "is not hexadecimal";
    const auto digits = static_cast<std::int64_t>(text.size());
    if (limits.high != 0 && (digits < limits.low || digits > limits.high))
        return "has " + std::to_string(digits) + " digits";
    return "";
}

std::string problem_by_form(const Limits& limits, std::string_view text) {
    switch (limits.form) {
        case Form::Record:
            break;
        case Form::Text:
            return text_problem(text);
        case Form::Flag:
            return text[0] == '0' || text[0] == '1' ? "" : "is neither on nor off";
        case Form::Number:
            return number_problem(limits, text);
        case Form::Choice:
            return is_word_of(text, limits.choices) ? "" : "is not an allowed value";
        case Form::Address:
            return address_problem(text, "is not an IPv4 address");
        case Form::Quad:
            return quad_problem(text, "is not an IPv4 address");
        case Form::Netmask:
            return netmask_problem(text);
        case Form::Mac:
            return mac_problem(text);
        case Form::Interface:
            return is_interface(text) ? "" : "is not an interface name";
        case Form::Host:
            return host_problem(text);
        case Form::Hex:
            return hex_problem(limits, text);
    }
    return "";
}

}  // namespace

Limits limits_of(const KnownSetting& known) {
    return {.form = known.form, .low = known.low, .high = known.high, .choices = known.choices};
}

Limits limits_of(const Field& field) {
    return {.form = field.form, .low = field.low, .high = field.high, .choices = field.choices};
}

std::string form_text(const Limits& limits) {
    return with_choices(plain_form_text(limits), limits);
}

std::string form_problem(const Limits& limits, std::string_view text) {
    if (limits.form != Form::Choice && is_word_of(text, limits.choices)) return "";
    std::string problem = problem_by_form(limits, text);
    if (!problem.empty()) problem += "; expected " + expected_text(limits);
    return problem;
}

std::optional<long long> plain_number(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    // Eighteen digits are within a long long.
    if (text.empty() || text.size() > 18) return std::nullopt;
    long long number = 0;
    for (const char c : text) {
        if (!is_digit(c)) return std::nullopt;
        number = number * 10 + (c - '0');
    }
    return negative ? -number : number;
}

bool is_mac(std::string_view text) {
    if (text.size() != limits::mac_length) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i % 3 == 2 ? text[i] != ':' : !is_hex_digit(text[i])) return false;
    return true;
}

// RFC 6890: 0.0.0.0/8, loopback, multicast, and what is reserved above it.
const char* unusable_address(std::uint32_t address) {
    const std::uint32_t first = address >> 24;
    if (first == 0) return "is in 0.0.0.0/8, where no host has an address";
    if (first == 127) return "is a loopback address, which is every host's own";
    if (address == 0xffffffff) return "is the broadcast address";
    if (first >= 240) return "is a reserved address, which no host has";
    if (first >= 224) return "is a multicast address, which no host has";
    return "";
}

bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

std::string_view whole_letters(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text;
    // Bytes 10xxxxxx continue a letter.
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xc0) == 0x80) --limit;
    return text.substr(0, limit);
}

bool is_hex(std::string_view text) {
    return std::all_of(text.begin(), text.end(), is_hex_digit);
}

bool same_letters(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    for (std::size_t i = 0; i < one.size(); ++i)
        if (lower(one[i]) != lower(other[i])) return false;
    return true;
}

// One row of the usual table at a time: distances of one's beginnings to other's beginnings.
std::size_t edit_distance(std::string_view one, std::string_view other, std::size_t limit) {
    const std::size_t longer = std::max(one.size(), other.size());
    if (longer - std::min(one.size(), other.size()) > limit) return limit + 1;
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j) row[j] = j;
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t changed = diagonal + (lower(one[i]) == lower(other[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace nvram
