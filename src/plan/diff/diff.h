// The difference between rc's runs with two settings files A and B, and the changed settings that
// cause each part of it.
#ifndef RC_PLAN_DIFF_DIFF_H
#define RC_PLAN_DIFF_DIFF_H

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/diff/alignment.h"
#include "plan/router/lines.h"
#include "plan/router/settings.h"
#include "plan/router/transcript.h"
#include "plan/trace/influence.h"

// A setting that has another value in B, or is set in only one of the two.
struct SettingChange {
    std::string key;
    std::optional<std::string> a;
    std::optional<std::string> b;
};

// By name.
std::vector<SettingChange> changed_settings(const Settings& a, const Settings& b);

// The result of playing with some settings: transcripts, always the same number, and the settings
// that the runs read.
struct Played {
    std::vector<Transcript> parts;
    std::set<std::string> settings_read;
};
using PlayWith = std::function<Played(const Settings& settings)>;

// Lines of A that B lacks, and the lines of B in their place. Either list may be empty.
struct EffectChange {
    std::vector<Origin> a;
    std::vector<Origin> b;
    // The event that both have, if only lines of its body differ.
    std::optional<SharedEvent> within;
    // The changed settings that cause it, by name: each one that produces the change if it alone
    // goes from A to B, or removes it if it alone goes back; if no single setting does, a smallest
    // group that does so together.
    std::vector<std::string> because;
};

struct Difference {
    Transcript a;
    Transcript b;
    std::vector<SharedEvent> shared;
    std::vector<EffectChange> changes;
};

// One for each part that is played. Lines of changes are numbered as in event_lines().
std::vector<Difference> differences(const Settings& a, const Settings& b, const PlayWith& play,
                                    const Progress& progress = {});

#endif
