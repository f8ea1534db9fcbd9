// src/libnvram/secret.inc: the names of secrets, for programs that mask them without the table.
#include <algorithm>

#include "libnvram/secret.h"
#include "reference/reference.h"

namespace {

// Each network has its own wifi_key1: wifi_key12, wifi_key13. The first name covers all.
bool begins_with_another(const std::vector<std::string_view>& keys, std::string_view key) {
    return std::ranges::any_of(
        keys, [key](std::string_view other) { return other != key && key.starts_with(other); });
}

}  // namespace

std::string secret_beginnings(const Reference& reference) {
    std::vector<std::string_view> keys;
    for (const nvram::SettingGroup& group : reference.groups)
        for (const nvram::KnownSetting& setting : group.settings)
            if (setting.secret && !nvram::names_password(setting.key)) keys.push_back(setting.key);
    std::ranges::sort(keys);

    std::string text = "// Written by tools/renew.sh: rc_reference secret.\n";
    for (const std::string_view key : keys)
        if (!begins_with_another(keys, key)) text += "\"" + std::string(key) + "\",\n";
    return text;
}
