// The settings that a router is left with, and whether they are whole.
#ifndef RC_TESTS_STRESS_STATE_H
#define RC_TESTS_STRESS_STATE_H

#include <map>
#include <set>
#include <string>

#include "plan/router/settings.h"

namespace stress {

// What each key may hold; a key that may be missing has an entry of "no value".
inline constexpr const char* no_value = "\x01(none)";
using Possible = std::map<std::string, std::set<std::string>>;

void allow(Possible& possible, const Settings& settings);

// What is wrong with an image, a line each; "" when it parses and holds for every key one of its
// values.
std::string wrong_image(const std::string& name, const std::string& text, const Possible& possible);

// The same of the router's working copy and of its newest generation in flash. Each generation that
// has a file must be undamaged.
std::string wrong_settings(const Possible& working, const Possible& flash);

// The image of the newest undamaged generation; "" when there is none.
std::string newest_in_flash();

}  // namespace stress

#endif
