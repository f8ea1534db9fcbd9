// The JSON output of rcplan diff, one object per line.
#ifndef RC_RCPLAN_DIFF_JSON_H
#define RC_RCPLAN_DIFF_JSON_H

#include <string>
#include <vector>

#include "plan/diff/diff.h"
#include "plan/diff/restarts.h"

// Objects of the type "setting": key, a, b, secret; null if the setting is not set.
std::string settings_json(const std::vector<SettingChange>& changes, bool show_secrets);

// Objects of the types "lines" (of a body that both write) and "events", then one of the type
// "total". Lines are written as in case files.
std::string difference_json(const Difference& difference);

// Objects of the types "before", "action", "gentler", "boot" and "unused", then one of the type
// "total".
std::string advice_json(const Advice& advice);

#endif
