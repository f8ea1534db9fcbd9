// How what rc does with one settings file differs from what it does with another, and which of the
// changed settings cause each difference.
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

// A setting that has another value in B, or stands in one of the two only.
struct SettingChange {
    std::string key;
    std::optional<std::string> a;
    std::optional<std::string> b;
};

// By name.
std::vector<SettingChange> changed_settings(const Settings& a, const Settings& b);

// What came of playing with some settings: transcripts, as many each time, and the settings that
// were asked for.
struct Played {
    std::vector<Transcript> parts;
    std::set<std::string> asked;
};
using PlayWith = std::function<Played(const Settings& settings)>;

// Lines of A that are not among those of B, and lines of B that stand there instead. Either may be
// none.
struct EffectChange {
    std::vector<Origin> a;
    std::vector<Origin> b;
    // The event that both have, when only lines of its body differ.
    std::optional<SharedEvent> within;
    // The changed settings behind it, by name: those that bring it about when they alone go from A
    // to B, or undo it when they alone go back; where no single one does, a smallest group that
    // does it together.
    std::vector<std::string> because;
};

struct Difference {
    Transcript a;
    Transcript b;
    std::vector<SharedEvent> shared;
    std::vector<EffectChange> changes;
};

// One for each part that is played. The lines of the changes are counted as event_lines() has them.
std::vector<Difference> differences(const Settings& a, const Settings& b, const PlayWith& play,
                                    const Progress& progress = {});

#endif
