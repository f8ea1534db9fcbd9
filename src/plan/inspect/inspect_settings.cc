// The settings themselves: what nvram check says of them, and what is not in flash.

#include <set>

#include "check/check.h"
#include "plan/inspect/inspect.h"
#include "plan/router/settings.h"

namespace {

// Settings that rc stores in the working copy only.
std::set<std::string> stored_by_rc(const ExpectedRouter& expected) {
    std::set<std::string> keys;
    for (const Step& step : expected.steps())
        for (const Event& event : step.plan.after.transcript.events())
            if (event.verb == "set") keys.insert(event.text.substr(0, event.text.find('=')));
    return keys;
}

}  // namespace

void inspect_settings(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    const std::set<std::string> stored = stored_by_rc(expected);
    for (const std::string& line : found.uncommitted) {
        if (!line.starts_with("+ ") && !line.starts_with("- ")) continue;
        const std::string setting = line.substr(2);
        const std::string key = setting.substr(0, setting.find('='));
        if (stored.contains(key)) continue;
        const bool same = !list.empty() && list.back().what == key;
        Deviation fresh = {.kind = Deviation::Kind::Setting,
                           .what = key,
                           .settings = {key},
                           .fix = "nvram commit, or nvram load to return to what is in flash"};
        Deviation& deviation = same ? list.back() : list.emplace_back(fresh);
        (line[0] == '-' ? deviation.expected : deviation.found) =
            setting + (line[0] == '-' ? " in flash" : ", not committed");
    }
    for (const nvram::Finding& finding : nvram::check_image(settings_image(found.settings))) {
        if (finding.level == nvram::Level::Note) continue;
        list.push_back({.kind = Deviation::Kind::Setting,
                        .what = finding.key,
                        .expected = finding.fix,
                        .found = finding.key + " " + finding.problem,
                        .settings = {finding.key},
                        .fix = "see nvram check"});
    }
}
