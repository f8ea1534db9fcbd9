// Settings in the workstation's programs, and their text image.
#ifndef RC_PLAN_ROUTER_SETTINGS_H
#define RC_PLAN_ROUTER_SETTINGS_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

using Settings = std::map<std::string, std::string>;

Settings read_settings(std::string_view image);
std::string settings_image(const Settings& settings);

// A setting of an image; nullopt if it is not set.
std::optional<std::string> setting_in(std::string_view image, std::string_view key);

// A setting's new value; nullopt removes it.
using SettingChanges = std::map<std::string, std::optional<std::string>>;

// The image after these changes.
std::string changed_image(std::string_view image, const SettingChanges& changes);

#endif
