// Lists and records in values.
#include "settings/records.h"

#include <algorithm>
#include <cstring>

namespace nvram {

std::vector<std::string_view> words_of(const char* choices) {
    std::vector<std::string_view> words;
    const char separator = choice_separator(choices);
    for (std::string_view rest = choices; !rest.empty();) {
        const std::string_view word = rest.substr(0, rest.find(separator));
        rest.remove_prefix(std::min(rest.size(), word.size() + 1));
        if (!word.empty()) words.push_back(word);
    }
    return words;
}

// The separator in the shape between a field and the next; empty after the last.
static std::string_view separator_after(const Record& record, std::size_t place) {
    const std::string_view shape = record.shape;
    std::size_t at = 0;
    for (std::size_t i = 0; i <= place; ++i) {
        // Names are searched one after the other, since one may be part of another.
        at = shape.find(record.fields[i].name, at);
        if (at == std::string_view::npos) return {};
        at += std::strlen(record.fields[i].name);
    }
    if (place + 1 == record.fields.size()) return {};
    const std::size_t next = shape.find(record.fields[place + 1].name, at);
    return next == std::string_view::npos ? std::string_view() : shape.substr(at, next - at);
}

std::vector<std::string_view> split_records(const Record& record, std::string_view value) {
    value.remove_prefix(std::min<std::size_t>(value.size(), record.ignored_prefix));
    std::vector<std::string_view> records;
    if (record.between == '\0') {
        if (!value.empty()) records.push_back(value);
        return records;
    }
    while (!value.empty()) {
        const std::string_view text = value.substr(0, value.find(record.between));
        value.remove_prefix(std::min(value.size(), text.size() + 1));
        records.push_back(text);
    }
    return records;
}

std::vector<std::string_view> split_fields(const Record& record, std::string_view text) {
    std::vector<std::string_view> fields;
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
        const std::string_view separator = separator_after(record, i);
        const std::size_t end = separator.empty() ? std::string_view::npos : text.find(separator);
        fields.push_back(text.substr(0, end));
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + separator.size());
    }
    return fields;
}

std::size_t field_place(const Record& record, std::string_view name) {
    std::size_t place = 0;
    while (place < record.fields.size() && name != record.fields[place].name) ++place;
    return place;
}

std::vector<Piece> pieces_of(const KnownSetting& known, std::string_view value) {
    if (known.record == nullptr) return {{.text = value}};
    const Record& record = *known.record;
    std::vector<Piece> pieces;
    unsigned entry = 0;
    for (const std::string_view text : split_records(record, value)) {
        ++entry;
        const std::vector<std::string_view> fields = split_fields(record, text);
        for (std::size_t i = 0; i < fields.size(); ++i)
            pieces.push_back({.text = fields[i],
                              .entry = record.between == '\0' ? 0 : entry,
                              .field = record.fields[i].name,
                              .record = text});
    }
    return pieces;
}

std::string place_text(unsigned entry, const char* field) {
    std::string text;
    if (entry != 0) text = "entry " + std::to_string(entry);
    if (field != nullptr) {
        if (!text.empty()) text += ", ";
        text += "field ";
        text += field;
    }
    return text;
}

}  // namespace nvram
