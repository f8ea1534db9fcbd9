// Settings in the workstation's programs, and their text image.
#ifndef RC_PLAN_ROUTER_SETTINGS_H
#define RC_PLAN_ROUTER_SETTINGS_H

#include <map>
#include <string>
#include <string_view>

using Settings = std::map<std::string, std::string>;

Settings read_settings(std::string_view image);
std::string settings_image(const Settings& settings);

#endif
