// Settings with one wrong value each, always the same ones.
#ifndef RC_TESTS_WRONG_SETTINGS_H
#define RC_TESTS_WRONG_SETTINGS_H

#include <string>
#include <vector>

#include "plan/router/settings.h"

struct WrongSettings {
    std::string base;  // the name of the settings that were changed
    std::string key;   // the setting that is wrong
    Settings settings;
};

// Over every key of the table, in the factory settings, in a full house and in each mode: every
// stride-th of all, from the first on.
std::vector<WrongSettings> wrong_settings(size_t stride, size_t first);

// One of the settings that wrong_settings() changes, by its name, with another value of a key.
WrongSettings wrong_setting(const std::string& base, const std::string& key,
                            const std::string& value);

#endif
