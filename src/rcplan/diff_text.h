// The text output of rcplan diff.
#ifndef RC_RCPLAN_DIFF_TEXT_H
#define RC_RCPLAN_DIFF_TEXT_H

#include <string>
#include <vector>

#include "plan/diff/diff.h"
#include "plan/diff/restarts.h"
#include "rcplan/timeline.h"

// The settings that differ, passwords and keys as asterisks.
std::string settings_text(const std::vector<SettingChange>& changes, bool show_secrets,
                          TimelineStyle style);

// One run of rc with A and with B. Each line begins with "-" or "+" and the total of the pauses so
// far; unchanged lines appear only as context.
std::string difference_text(const Difference& difference, const std::vector<std::string>& words,
                            TimelineStyle style);

// The actions to be run, in order, and the settings that no action applies.
std::string advice_text(const Advice& advice);

#endif
