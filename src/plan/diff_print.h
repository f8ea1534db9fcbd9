// What rcplan diff prints: for people, and as JSON for programs, one object a line.
#ifndef RC_PLAN_DIFF_PRINT_H
#define RC_PLAN_DIFF_PRINT_H

#include <string>
#include <vector>

#include "plan/diff.h"
#include "plan/restarts.h"
#include "plan/timeline.h"

// The settings that differ, passwords and keys as asterisks.
std::string settings_text(const std::vector<SettingChange>& changes, TimelineStyle style);
// Objects of the type "setting": key, a, b, secret; null where there is no such setting.
std::string settings_json(const std::vector<SettingChange>& changes);

// One run of rc with A and with B. In front of a line "-" or "+", and how long the pauses had taken
// by then; unchanged lines only where they tell the place.
std::string difference_text(const Difference& difference, const std::vector<std::string>& words,
                            TimelineStyle style);
// Objects of the types "lines" (of a body that both write) and "events", then one of the type
// "total". Lines stand as in case files.
std::string difference_json(const Difference& difference);

// The actions to be run, in order, and what they do not reach.
std::string advice_text(const Advice& advice);
// Objects of the types "before", "action", "gentler", "boot" and "unused", then one of the type
// "total".
std::string advice_json(const Advice& advice);

bool differs(const Advice& advice);
// The settings on which nothing but the boot depends.
std::vector<std::string> only_at_boot(const Advice& advice);

#endif
