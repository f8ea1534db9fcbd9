// Settings to check, as changes of valid ones; findings as lines of text.
#ifndef RC_TESTS_CHECK_KIT_H
#define RC_TESTS_CHECK_KIT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "check/check.h"
#include "settings/table.h"

// The factory settings with a user's own network and password: without any finding.
inline std::string sound_settings() {
    std::string text;
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const nvram::KnownSetting& known : group.settings)
            text += nvram::serialise({{known.key, known.factory}});
    return text + "http_password=of my own\nwifi_wep_on=3\nwifi_psk2_pwd=a good phrase\n";
}

// Each change is key=value as in an image, or -key for a setting that is not set.
inline std::string with_changes(const std::vector<std::string>& changes) {
    std::string text = sound_settings();
    for (const std::string& change : changes) {
        if (!change.starts_with('-')) {
            text += change + "\n";
            continue;
        }
        const std::string line = "\n" + change.substr(1) + "=";
        text.insert(0, "\n");
        for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line))
            text.erase(at, text.find('\n', at + 1) - at);
    }
    return text;
}

inline std::vector<nvram::Finding> findings(const std::vector<std::string>& changes,
                                            std::span<const nvram::Sink> sinks = {}) {
    const nvram::Image image(with_changes(changes));
    return nvram::check_settings(image, sinks);
}

// "error lan_ipaddr: is not an IPv4 address"
inline std::string shown(const nvram::Finding& finding) {
    constexpr const char* names[] = {"note", "warning", "error"};
    return std::string(names[static_cast<int>(finding.level)]) + " " + finding.key + ": " +
           finding.problem;
}

inline std::vector<std::string> found(const std::vector<std::string>& changes,
                                      std::span<const nvram::Sink> sinks = {}) {
    std::vector<std::string> lines;
    for (const nvram::Finding& finding : findings(changes, sinks)) lines.push_back(shown(finding));
    return lines;
}

// The only finding.
inline nvram::Finding finding_of(const std::vector<std::string>& changes,
                                 std::span<const nvram::Sink> sinks = {}) {
    std::vector<nvram::Finding> all = findings(changes, sinks);
    EXPECT_EQ(all.size(), 1U) << changes[0];
    if (all.empty()) return {};
    return all[0];
}

struct CheckRow {
    std::vector<std::string> changes;
    std::vector<std::string> found;
};

inline void expect_rows(const std::vector<CheckRow>& rows) {
    for (const CheckRow& row : rows) {
        std::string changes;
        for (const std::string& change : row.changes) changes += change + "  ";
        EXPECT_EQ(found(row.changes), row.found) << changes;
    }
}

#endif
