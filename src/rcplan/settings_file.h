// The settings file of a command of rcplan.
#ifndef RC_RCPLAN_SETTINGS_FILE_H
#define RC_RCPLAN_SETTINGS_FILE_H

#include <optional>
#include <string>

#include "plan/router/settings.h"

// The file's settings; nullopt after a message if it cannot be read or is no settings file: binary,
// empty, with the line ends of another system, or with lines that are not KEY=VALUE. A skipped line
// would look like a setting that is not set.
std::optional<Settings> read_settings_file(const std::string& path);

// Prints a warning for each setting that rc does not know, after this prefix: "--set ".
void warn_of_unknown(const std::string& prefix, const Settings& settings);

#endif
