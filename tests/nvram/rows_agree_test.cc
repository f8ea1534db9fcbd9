// The table of all settings: the fields of a row agree with each other, with the other rows and
// with the lines that rc writes.
#include <gtest/gtest.h>

#include <algorithm>

#include "settings/forms.h"
#include "settings/sinks.h"
#include "settings/table.h"

using namespace nvram;

namespace {

std::vector<const KnownSetting*> all_rows() {
    std::vector<const KnownSetting*> rows;
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& setting : group.settings) rows.push_back(&setting);
    return rows;
}

bool is_clause(const char* text) {
    const std::string_view clause = text;
    return clause.size() > 5 && !clause.ends_with('.') && clause[0] >= 'a' && clause[0] <= 'z' &&
           clause.find('\n') == std::string_view::npos;
}

// The values that a condition can distinguish: a setting of few words, or a list.
std::vector<std::string_view> values_of(const KnownSetting& setting) {
    if (setting.form == Form::Flag) return {"0", "1"};
    return words_of(setting.choices);
}

void expect_possible(const KnownSetting& needed, const Condition& condition) {
    const KnownSetting* const other = find_known(condition.key);
    ASSERT_NE(other, nullptr) << needed.key << ": " << condition.key << " is no setting";
    EXPECT_NE(other, &needed) << needed.key << " needs itself";
    const std::vector<std::string_view> values = values_of(*other);
    if (condition.test == Test::Is) {
        const std::vector<std::string_view> words = words_of(condition.text);
        EXPECT_FALSE(words.empty()) << needed.key;
        for (const std::string_view word : words)
            EXPECT_TRUE(std::ranges::count(values, word) == 1)
                << needed.key << ": " << condition.key << " is never " << word;
        return;
    }
    EXPECT_STRNE(condition.text, "") << needed.key;
    for (const char c : std::string_view(condition.text))
        EXPECT_TRUE(std::ranges::any_of(values, [c](auto word) { return word.starts_with(c); }))
            << needed.key << ": " << condition.key << " never begins with " << c;
}

}  // namespace

TEST(Rows, NeedsNameExistingSettings) {
    unsigned needs = 0;
    for (const KnownSetting* row : all_rows()) {
        if (row->needed == nullptr) continue;
        ++needs;
        EXPECT_NE(row->needed->when.test, nvram::Test::Always) << row->key;
        expect_possible(*row, row->needed->when);
        if (row->needed->also.test != nvram::Test::Always) expect_possible(*row, row->needed->also);
    }
    EXPECT_GT(needs, 40U) << "hardly any row is needed";
}

// Otherwise the checks of the form and of the need would both report it.
TEST(Rows, NeededSettingsMayBeMissingOtherwise) {
    for (const KnownSetting* row : all_rows()) {
        if (row->needed == nullptr) continue;
        const bool may_be_zero = row->form == Form::Number && row->low == 0;
        EXPECT_TRUE(row->may_be_empty || may_be_zero) << row->key;
        EXPECT_TRUE(row->needed->effect == nullptr || is_clause(row->needed->effect)) << row->key;
        EXPECT_TRUE(row->needed->fix == nullptr || *row->needed->fix != '\0') << row->key;
    }
}

TEST(Rows, ExamplesOfNeededSettingsAreNotMissing) {
    for (const KnownSetting* row : all_rows()) {
        if (row->needed == nullptr || row->example == nullptr) continue;
        EXPECT_STRNE(row->example, "0.0.0.0") << row->key;
        EXPECT_TRUE(row->form != Form::Number || row->example != std::string_view("0")) << row->key;
    }
}

// Any text is valid for the form Text; its length is checked separately.
TEST(Rows, OnlyFormsThatCanBeInvalidHaveAnEffectWhenWrong) {
    for (const KnownSetting* row : all_rows()) {
        if (row->when_wrong == nullptr) continue;
        EXPECT_NE(row->form, Form::Text) << row->key;
        EXPECT_TRUE(is_clause(row->when_wrong)) << row->key << ": " << row->when_wrong;
    }
}

TEST(Rows, OnlyTextsWithALimitAreCut) {
    for (const KnownSetting* row : all_rows()) {
        if (!row->cut) continue;
        EXPECT_EQ(row->form, Form::Text) << row->key;
        EXPECT_GT(row->high, 0) << row->key;
    }
}

TEST(Rows, OnlyFieldsOfListsCanBeDuplicated) {
    for (const KnownSetting* row : all_rows()) {
        if (row->record == nullptr) continue;
        for (const Field& field : row->record->fields) {
            if (field.twice == nullptr) continue;
            EXPECT_NE(row->record->between, '\0') << row->key;
            EXPECT_TRUE(is_clause(field.twice)) << row->key << ": " << field.twice;
        }
    }
}

// rc itself wrote these lines, so they show what it escapes.
TEST(Rows, EscapedCharactersReachNoLineUnescaped) {
    unsigned lines = 0;
    for (const KnownSetting* row : all_rows()) {
        if (row->escapes == Escapes::Nothing) continue;
        EXPECT_EQ(row->form, Form::Text) << row->key;
        for (const Sink& sink : setting_sinks()) {
            if (sink.key != std::string_view(row->key)) continue;
            ++lines;
            for (const char c : escaped_characters(row->escapes))
                EXPECT_EQ(std::string_view(sink.passes).find(c), std::string_view::npos)
                    << row->key << ": " << c << " in " << sink.line;
        }
    }
    EXPECT_GT(lines, 13U);
}
