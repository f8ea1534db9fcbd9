// Checks that a router's settings are undamaged after a test.
#ifndef RC_TESTS_STRESS_STATE_H
#define RC_TESTS_STRESS_STATE_H

#include <map>
#include <set>
#include <string>

#include "plan/router/settings.h"

namespace stress {

// The possible values of each key; a key that may be missing has no_value among them.
inline constexpr const char* no_value = "\x01(none)";
using Possible = std::map<std::string, std::set<std::string>>;

void allow(Possible& possible, const Settings& settings);

// The faults of an image, one line each; "" if it parses and every key has one of its possible
// values.
std::string wrong_image(const std::string& name, const std::string& text, const Possible& possible);

// The same for the router's working copy and its newest generation in flash. Each generation that
// has a file must be undamaged.
std::string wrong_settings(const Possible& working, const Possible& flash);

// The image of the newest undamaged generation; "" if no generation is undamaged.
std::string newest_in_flash();

// Whether a folder has temporary files of the store.
bool has_temporary_files(const char* folder);

}  // namespace stress

#endif
