// The patterns of the schema and the check on the router accept the same values: every setting's
// own values, and those with one character removed, inserted or changed.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "reference/patterns.h"
#include "reference/words.h"
#include "settings/forms.h"
#include "settings/records.h"

namespace {

using nvram::Field;
using nvram::Form;
using nvram::KnownSetting;

// Empty values are not compared: the row decides whether they are legal.
bool checked(const KnownSetting& setting, const std::string& value) {
    return nvram::form_problem(nvram::limits_of(setting), value).empty();
}

bool checked(const Field& field, std::string_view text) {
    if (text.empty()) return field.may_be_empty;
    if (field.form == Form::Flag && text.size() > 1) return false;
    const auto limit = static_cast<size_t>(field.high);
    if (field.form == Form::Text && limit > 0 && text.size() > limit) return false;
    return nvram::form_problem(nvram::limits_of(field), text).empty();
}

// An empty entry is a note to the check; the schema has none.
bool checked_records(const nvram::Record& record, std::string_view value) {
    const std::vector<std::string_view> records = nvram::split_records(record, value);
    if (*record.counted == '\0' && record.most > 0 && records.size() > record.most) return false;
    if (records.size() < record.least) return false;
    for (const std::string_view text : records) {
        const std::vector<std::string_view> fields = nvram::split_fields(record, text);
        if (fields.size() != record.fields.size()) return false;
        for (size_t i = 0; i < fields.size(); i++)
            if (!checked(record.fields[i], fields[i])) return false;
    }
    return !records.empty();
}

// A minus before zeros: a number to the check, but not to a form's schema.
bool has_negative_zero(std::string_view value) {
    for (size_t at = value.find("-0"); at != std::string_view::npos; at = value.find("-0", at + 1))
        if (at == 0 || value[at - 1] < '0' || value[at - 1] > '9') return true;
    return false;
}

// Skips values where the two differ on purpose: a flag of more than one
// character, a list that ends within its ignored prefix.
bool in_question(const KnownSetting& setting, std::string_view value) {
    if (value.empty() || has_negative_zero(value)) return false;
    if (setting.record != nullptr) return value.size() > setting.record->ignored_prefix;
    return setting.form != Form::Flag || value.size() == 1;
}

void add_neighbours(std::set<std::string>& values, const std::string& value) {
    constexpr std::string_view characters("09ag.:-_ \x01");
    values.insert(value);
    for (size_t i = 0; i <= value.size(); i++) {
        if (i < value.size()) values.insert(std::string(value).erase(i, 1));
        for (const char c : characters) {
            values.insert(std::string(value).insert(i, 1, c));
            if (i < value.size()) values.insert(std::string(value).replace(i, 1, 1, c));
        }
    }
}

// Its own values with their neighbours, and values of other forms.
std::set<std::string> values_of(const KnownSetting& setting) {
    std::set<std::string> values = {std::to_string(setting.low),
                                    std::to_string(setting.high),
                                    "10.0.0.1",
                                    "255.255.255.0",
                                    "00:11:22:aa:bb:cc",
                                    "a.b-c.de"};
    add_neighbours(values, setting.factory);
    if (setting.example != nullptr) add_neighbours(values, setting.example);
    add_neighbours(values, std::to_string(setting.high));
    for (const std::string_view word : split_words(setting.choices)) values.emplace(word);
    return values;
}

TEST(Agreement, TheSchemaAndTheCheckAcceptTheSameValues) {
    size_t legal = 0;
    size_t illegal = 0;
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const KnownSetting& setting : group.settings) {
            if (setting.form == Form::Text) continue;
            const std::regex pattern(value_pattern(setting));
            for (const std::string& value : values_of(setting)) {
                if (!in_question(setting, value)) continue;
                const bool expected = setting.record != nullptr
                                          ? checked_records(*setting.record, value)
                                          : checked(setting, value);
                EXPECT_EQ(std::regex_match(value, pattern), expected)
                    << setting.key << "=" << escaped(value);
                (expected ? legal : illegal)++;
            }
        }
    EXPECT_GT(legal, 1000U) << illegal;
    EXPECT_GT(illegal, 10000U) << legal;
}

}  // namespace
