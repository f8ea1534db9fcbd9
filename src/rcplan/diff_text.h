// What rcplan diff prints for people.
#ifndef RC_RCPLAN_DIFF_TEXT_H
#define RC_RCPLAN_DIFF_TEXT_H

#include <string>
#include <vector>

#include "plan/diff/diff.h"
#include "plan/diff/restarts.h"
#include "rcplan/timeline.h"

// The settings that differ, passwords and keys as asterisks.
std::string settings_text(const std::vector<SettingChange>& changes, TimelineStyle style);

// One run of rc with A and with B. In front of a line "-" or "+", and how long the pauses had taken
// by then; unchanged lines only where they tell the place.
std::string difference_text(const Difference& difference, const std::vector<std::string>& words,
                            TimelineStyle style);

// The actions to be run, in order, and what they do not reach.
std::string advice_text(const Advice& advice);

#endif
