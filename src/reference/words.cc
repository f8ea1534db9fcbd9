// A setting's row in plain English, without markup.
#include "reference/words.h"

#include <fmt/format.h>

#include <cctype>

#include "libnvram/image.h"

using nvram::Form;

namespace {

std::string hex_in_words(int low, int high) {
    if (low == high && high > 0) return fmt::format("{} hexadecimal digits", low);
    if (high == 0) return "hexadecimal digits";
    return fmt::format("{} to {} hexadecimal digits", low, high);
}

std::string form_in_words(Form form, int low, int high) {
    switch (form) {
        case Form::Text:
            return high == 0 ? "text" : fmt::format("text, at most {} characters", high);
        case Form::Flag:
            return "a flag: 1 (on) or 0 (off)";
        case Form::Number:
            if (low == 0 && high == 0) return "a number";
            return fmt::format("a number from {} to {}", low, high);
        case Form::Choice:
            return "one of";
        case Form::Address:
        case Form::Quad:
            return "an IPv4 address";
        case Form::Netmask:
            return "an IPv4 netmask";
        case Form::Mac:
            return "a MAC address";
        case Form::Interface:
            return "a network interface name";
        case Form::Host:
            return "a host name or an IPv4 address";
        case Form::Hex:
            return hex_in_words(low, high);
        case Form::Record:
            break;
    }
    return "a record";
}

std::string separator_in_words(char separator) {
    if (separator == ' ') return "spaces";
    if (std::isprint(static_cast<unsigned char>(separator)) != 0)
        return fmt::format("'{}'", separator);
    return fmt::format("the byte {}", escaped({&separator, 1}));
}

std::string list_in_words(const nvram::Record& record) {
    if (record.between == '\0') return "one record";
    std::string text = "records separated by " + separator_in_words(record.between);
    if (record.ignored_prefix > 0)
        text += fmt::format(", after {} ignored characters", record.ignored_prefix);
    return text;
}

std::string limit_in_words(const nvram::Record& record) {
    if (record.most == 0) return "";
    if (record.most == 1) return "; the first is used";
    if (*record.counted == '\0') return fmt::format("; the first {} are used", record.most);
    return fmt::format("; the first {} whose field {} is 1 are used", record.most, record.counted);
}

// The row is a setting's or a field's.
template <typename Row>
FormInWords parts_of(const Row& row) {
    return {.form = form_in_words(row.form, row.low, row.high),
            .before_words = row.form == Form::Choice || *row.choices == '\0' ? "" : ", or",
            .words = split_words(row.choices),
            .or_empty = row.may_be_empty};
}

}  // namespace

std::vector<std::string_view> split_words(std::string_view text) {
    const char separator = nvram::choice_separator(text);
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const size_t end = std::min(text.find(separator), text.size());
        if (end > 0) words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

FormInWords in_words(const nvram::KnownSetting& setting) {
    FormInWords parts = parts_of(setting);
    if (setting.record != nullptr) {
        parts.form = list_in_words(*setting.record);
        parts.limit = limit_in_words(*setting.record);
    }
    return parts;
}

FormInWords in_words(const nvram::Field& field) {
    return parts_of(field);
}

std::string joined(const FormInWords& parts) {
    std::string text = parts.form;
    if (!parts.words.empty())
        text += fmt::format("{} {}", parts.before_words, fmt::join(parts.words, ", "));
    if (parts.or_empty) text += ", or empty";
    return text + parts.limit;
}

std::string escaped(std::string_view value) {
    std::string text;
    nvram::append_escaped(text, value);
    return text;
}

std::string sentence(std::string_view clause) {
    std::string text(clause);
    if (text.empty()) return text;
    const std::string_view first = clause.substr(0, clause.find(' '));
    const bool name = first == "rc" || first.find('_') != std::string_view::npos;
    if (!name) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    if (text.back() != '.') text += '.';
    return text;
}
