// Settings in the workstation's programs, and their text image.

#include "plan/router/settings.h"

#include "libnvram/image.h"

Settings read_settings(std::string_view image) {
    const nvram::Image parsed = nvram::Image(std::string(image));
    Settings settings;
    for (const nvram::Entry& entry : parsed.entries())
        settings.emplace(std::string(entry.key), std::string(entry.value));
    return settings;
}

std::string settings_image(const Settings& settings) {
    std::vector<nvram::Entry> entries;
    for (const auto& [key, value] : settings) entries.push_back({.key = key, .value = value});
    return nvram::serialise(entries);
}

std::optional<std::string> setting_in(std::string_view image, std::string_view key) {
    const nvram::Image parsed = nvram::Image(std::string(image));
    const std::optional<std::string_view> value = parsed.get(key);
    if (!value) return std::nullopt;
    return std::string(*value);
}

std::string changed_image(std::string_view image, const SettingChanges& changes) {
    nvram::Image parsed = nvram::Image(std::string(image));
    for (const auto& [key, value] : changes)
        parsed.apply({.key = key, .value = value ? std::string_view(*value) : nvram::no_value});
    return parsed.text();
}
