// Regular expressions for values.
#include "reference/patterns.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "reference/shape.h"
#include "reference/words.h"

using nvram::Form;

namespace {

constexpr const char* octet = "(?:25[0-5]|2[0-4][0-9]|1[0-9]{2}|[1-9]?[0-9])";

// Numbers of the same length between first and last, which differ in digits that may each take any
// value between theirs.
std::string digits_pattern(const std::string& first, const std::string& last) {
    std::string pattern;
    size_t any = 0;
    for (size_t i = 0; i < first.size(); i++) {
        if (first[i] == '0' && last[i] == '9')
            any++;
        else if (first[i] == last[i])
            pattern += first[i];
        else
            pattern += fmt::format("[{}-{}]", first[i], last[i]);
    }
    if (any > 0) pattern += "[0-9]";
    if (any > 1) pattern += fmt::format("{{{}}}", any);
    return pattern;
}

// The ends of the ranges into which low to high is split, so that digits_pattern can express each:
// 1 to 300 gives 9, 99, 299, 300.
std::vector<std::int64_t> range_ends(std::int64_t low, std::int64_t high) {
    std::vector<std::int64_t> ends = {high};
    for (std::int64_t power = 10; low - low % power + power - 1 < high; power *= 10)
        ends.push_back(low - low % power + power - 1);
    for (std::int64_t power = 10; (high + 1) / power * power - 1 >= low; power *= 10)
        ends.push_back((high + 1) / power * power - 1);
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    return ends;
}

std::string alternatives(const std::vector<std::string>& patterns) {
    if (patterns.size() == 1) return patterns[0];
    return fmt::format("(?:{})", fmt::join(patterns, "|"));
}

std::string natural_pattern(std::int64_t low, std::int64_t high) {
    std::vector<std::string> patterns;
    for (const std::int64_t end : range_ends(low, high)) {
        patterns.push_back(digits_pattern(std::to_string(low), std::to_string(end)));
        low = end + 1;
    }
    return alternatives(patterns);
}

// A number may have leading zeros, but a port may not: iptables would read it as octal.
std::string padded_pattern(std::int64_t low, std::int64_t high) {
    constexpr std::int64_t last_port = 65535;
    return (high == last_port ? "" : "0*") + natural_pattern(low, high);
}

std::string quad_pattern() {
    return fmt::format("{}(?:\\.{}){{3}}", octet, octet);
}

// What a host can have: no loopback address, and none above 223; or 0.0.0.0.
std::string address_pattern() {
    return fmt::format("(?:0\\.0\\.0\\.0|(?:{}|{})(?:\\.{}){{3}})", natural_pattern(1, 126),
                       natural_pattern(128, 223), octet);
}

// A device's own: not all zeros, and not a group's.
constexpr const char* mac_pattern =
    "(?!00(?::00){5})[0-9A-Fa-f][02468ACEace](?::[0-9A-Fa-f]{2}){5}";

// Ones from the left, then zeros.
std::string netmask_pattern() {
    constexpr const char* last = "(?:255|254|252|248|240|224|192|128|0)";
    return fmt::format(
        "(?:(?:255\\.){{3}}{0}|(?:255\\.){{2}}{0}\\.0|255\\.{0}\\.0\\.0|{0}\\.0\\.0\\.0)", last);
}

// A text of digits and dots only must be an address (RFC 1123, 2.1).
std::string host_pattern() {
    constexpr const char* label = "[A-Za-z0-9](?:[A-Za-z0-9\\-]{0,61}[A-Za-z0-9])?";
    constexpr const char* no_address = "(?![0-9.]+(?![A-Za-z0-9.\\-]))";
    constexpr const char* not_too_long = "(?![A-Za-z0-9.\\-]{254})";
    return fmt::format("(?:{0}|{1}{2}{3}(?:\\.{3})*)", address_pattern(), no_address, not_too_long,
                       label);
}

std::string count_pattern(int low, int high) {
    if (high == 0) return low == 0 ? "+" : fmt::format("{{{},}}", low);
    if (low == high) return fmt::format("{{{}}}", low);
    return fmt::format("{{{},{}}}", low, high);
}

constexpr const char* no_control = "\\x00-\\x1f\\x7f";

// Any character but control characters and these. In a character class a '-' must be escaped.
std::string none_of_pattern(std::string_view stops, const std::string& class_of_others) {
    std::string pattern = class_of_others;
    for (const char c : stops)
        if (static_cast<unsigned char>(c) >= 0x20)
            pattern += c == '-' ? "\\-" : literal_pattern({&c, 1});
    return "[^" + pattern + "]";
}

// A text field ends at the first character of the separator after it.
std::string text_pattern(const nvram::Field& field, std::string_view stops) {
    const std::string any = none_of_pattern(stops, no_control);
    const int low = field.may_be_empty ? 0 : 1;
    if (field.high > 0) return any + fmt::format("{{{},{}}}", low, field.high);
    return any + (low == 0 ? "*" : "+");
}

std::string form_pattern(Form form, int low, int high) {
    switch (form) {
        case Form::Flag:
            return "[01]";
        case Form::Number:
            return number_pattern(low, high);
        case Form::Address:
            return address_pattern();
        case Form::Quad:
            return quad_pattern();
        case Form::Netmask:
            return netmask_pattern();
        case Form::Mac:
            return mac_pattern;
        case Form::Interface:
            return "(?!\\.{1,2}(?![!-.0-~]))[!-.0-~]{1,15}";
        case Form::Host:
            return host_pattern();
        case Form::Hex:
            return "[0-9A-Fa-f]" + count_pattern(low, high);
        case Form::Choice:
        case Form::Text:
        case Form::Record:
            break;
    }
    return "";
}

// A text of low to high bytes in UTF-8. A pattern counts characters: of texts with letters of two
// bytes, some that are nearly too long are left out; other letters count as four bytes.
std::string bytes_pattern(int low, int high) {
    const std::string any = fmt::format("[^{}]", no_control);
    if (high == 0) return any + (low == 0 ? "*" : "+");
    std::vector<std::string> patterns = {fmt::format("[ -~]{{{},{}}}", low, high)};
    for (int letters = 1; letters <= high / 2; letters *= 2)
        patterns.push_back(fmt::format("(?=[ -~]*(?:[\\u0080-\\u07ff][ -~]*){{0,{}}}$){}{{{},{}}}",
                                       letters, any, low, high - letters));
    patterns.push_back(fmt::format("{}{{{},{}}}", any, low, high / 4));
    return alternatives(patterns);
}

// A value of the form, or one of.
template <typename Row>
std::string row_pattern(const Row& row) {
    if (row.form == Form::Text) return "";
    std::vector<std::string> patterns;
    const std::string form = form_pattern(row.form, row.low, row.high);
    if (!form.empty()) patterns.push_back(form);
    for (const std::string_view word : split_words(row.choices))
        patterns.push_back(literal_pattern(word));
    return alternatives(patterns);
}

std::string field_pattern(const nvram::Field& field, std::string_view stops) {
    if (field.form == Form::Text) return text_pattern(field, stops);
    const std::string pattern = row_pattern(field);
    return field.may_be_empty ? fmt::format("(?:{})?", pattern) : pattern;
}

std::string one_record_pattern(const nvram::Record& record) {
    const Shape shape = take_apart(record);
    std::string pattern;
    for (size_t i = 0; i < shape.pieces.size(); i++) {
        const ShapePiece& piece = shape.pieces[i];
        const std::string_view after =
            i + 1 < shape.pieces.size() ? shape.pieces[i + 1].before : shape.end;
        std::string stops(after.substr(0, 1));
        if (record.between != '\0' && stops != std::string_view(&record.between, 1))
            stops += record.between;
        pattern += literal_pattern(piece.before) + field_pattern(*piece.field, stops);
    }
    return pattern + literal_pattern(shape.end);
}

// Records that count only if enabled may occur any number of times. A separator after the last
// one starts no further record.
std::string list_pattern(const nvram::Record& record) {
    std::string one = one_record_pattern(record);
    if (record.between == '\0') return one;
    const std::string separator = literal_pattern({&record.between, 1});
    const bool limited = record.most > 0 && *record.counted == '\0';
    const std::uint32_t least = record.least > 0 ? record.least - 1 : 0;
    const std::string times = limited ? fmt::format("{{{},{}}}", least, record.most - 1) : "*";
    return fmt::format("{0}(?:{1}{0}){2}{1}?", one, separator, times);
}

std::string record_pattern(const nvram::Record& record) {
    std::string list = list_pattern(record);
    if (record.ignored_prefix == 0) return list;
    return fmt::format("[\\s\\S]{{{}}}(?:{})?", record.ignored_prefix, list);
}

}  // namespace

std::string number_pattern(std::int64_t low, std::int64_t high) {
    if (low == 0 && high == 0) return "-?[0-9]{1,18}";
    if (low >= 0) return padded_pattern(low, high);
    std::string negative = "-" + padded_pattern(high < 0 ? -high : 1, -low);
    if (high < 0) return negative;
    return alternatives({negative, padded_pattern(0, high)});
}

std::string literal_pattern(std::string_view text) {
    std::string pattern;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20)
            pattern += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else if (std::string_view("^$\\.*+?()[]{}|/").find(c) != std::string_view::npos)
            pattern += {'\\', c};
        else
            pattern += c;
    }
    return pattern;
}

std::string value_pattern(const nvram::KnownSetting& setting) {
    if (setting.record != nullptr) return record_pattern(*setting.record);
    if (setting.form == Form::Text) return bytes_pattern(1, setting.cut ? 0 : setting.high);
    return row_pattern(setting);
}
