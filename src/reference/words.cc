// A setting's row in plain English, without markup.
#include "reference/words.h"

#include <fmt/format.h>

#include <cctype>

#include "nvram/image.h"

using nvram::Form;

namespace {

std::string text_in_words(int high) {
    if (high == 0) return "text";
    return fmt::format("text, of which {} characters are kept", high);
}

std::string hex_in_words(int low, int high) {
    if (low == high) return fmt::format("{} hexadecimal digits", low);
    if (high == 0) return "hexadecimal digits";
    return fmt::format("{} to {} hexadecimal digits", low, high);
}

std::string in_words(Form form, int low, int high) {
    switch (form) {
        case Form::Text:
            return text_in_words(high);
        case Form::Flag:
            return "a flag: 1 is on, 0 is off";
        case Form::Number:
            return fmt::format("a number from {} to {}", low, high);
        case Form::Choice:
            return "one of the words";
        case Form::Address:
            return "an IPv4 address";
        case Form::Netmask:
            return "an IPv4 netmask";
        case Form::Mac:
            return "a MAC address";
        case Form::Interface:
            return "the name of a network interface";
        case Form::Host:
            return "a host name or an IPv4 address";
        case Form::Hex:
            return hex_in_words(low, high);
        case Form::Record:
            return "a record";
    }
    return "";
}

std::string separator_in_words(char separator) {
    if (separator == ' ') return "blanks";
    if (std::isprint(static_cast<unsigned char>(separator)) != 0)
        return fmt::format("'{}'", separator);
    return fmt::format("the byte {}", escaped({&separator, 1}));
}

}  // namespace

std::vector<std::string_view> split_words(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const size_t end = std::min(text.find(' '), text.size());
        if (end > 0) words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

std::string form_in_words(const nvram::KnownSetting& setting) {
    if (setting.record != nullptr) return list_in_words(*setting.record);
    return in_words(setting.form, setting.low, setting.high);
}

std::string form_in_words(const nvram::Field& field) {
    return in_words(field.form, field.low, field.high);
}

std::string list_in_words(const nvram::Record& record) {
    if (record.between == '\0') return "one record";
    const std::string parted = "parted by " + separator_in_words(record.between);
    if (record.most == 0) return "records " + parted;
    return fmt::format("up to {} records {}", record.most, parted);
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
