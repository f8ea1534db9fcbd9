// The real table of settings: the properties of rows and uses that the pages need.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "rc/apps.h"
#include "reference/patterns.h"
#include "reference/reference.h"
#include "reference/words.h"

namespace {

using nvram::KnownSetting;

std::vector<const KnownSetting*> rows() {
    std::vector<const KnownSetting*> all;
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const KnownSetting& setting : group.settings) all.push_back(&setting);
    return all;
}

bool legal(const KnownSetting& setting, std::string_view value) {
    if (value.empty()) return setting.may_be_empty;
    if (setting.form == nvram::Form::Text && setting.high > 0 &&
        value.size() > static_cast<size_t>(setting.high))
        return false;
    const std::string pattern = value_pattern(setting);
    return pattern.empty() || std::regex_match(std::string(value), std::regex(pattern));
}

std::set<std::string_view> names_behind_rc() {
    std::set<std::string_view> names = {"init", "service", "wan"};
    for (const rc_app* list : {rc_apps, rc_services})
        for (const rc_app* app = list; app->name != nullptr; app++) names.insert(app->name);
    return names;
}

TEST(Table, FactoryValuesMatchTheirForm) {
    ASSERT_GT(rows().size(), 200U);
    for (const KnownSetting* row : rows())
        EXPECT_TRUE(legal(*row, row->factory)) << row->key << "=" << row->factory;
}

TEST(Table, ExamplesMatchTheirForm) {
    for (const KnownSetting* row : rows()) {
        if (row->example == nullptr) continue;
        EXPECT_STRNE(row->example, "") << row->key;
        EXPECT_TRUE(legal(*row, row->example)) << row->key << "=" << escaped(row->example);
    }
}

// The pages show those of records, nvram check those of settings that are needed.
TEST(Table, ExamplesExistWhereTheyAreShown) {
    for (const KnownSetting* row : rows()) {
        const bool in_pages = row->record != nullptr;
        const bool in_check = row->needed != nullptr && row->needed->fix == nullptr;
        if (row->example != nullptr) {
            EXPECT_TRUE(in_pages || in_check) << row->key << ": the example is shown nowhere";
        } else {
            EXPECT_FALSE(in_check || (in_pages && *row->factory == '\0')) << row->key;
        }
    }
}

TEST(Table, UsesNameSettingsAndActions) {
    const std::set<std::string_view> names = names_behind_rc();
    for (const nvram::Use& use : nvram::setting_uses()) {
        EXPECT_NE(nvram::find_known(use.key), nullptr) << use.key;
        EXPECT_FALSE(split_words(use.actions).empty()) << use.key;
        for (const std::string_view action : split_words(use.actions))
            EXPECT_TRUE(names.contains(action)) << use.key << ": " << action;
    }
}

}  // namespace
