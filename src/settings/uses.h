// Which actions of rc read or write each setting.
#ifndef RC_SETTINGS_USES_H
#define RC_SETTINGS_USES_H

#include <span>
#include <string_view>

namespace nvram {

struct Use {
    const char* key;
    // Names as they follow rc, separated by spaces: "wan firewall".
    const char* actions;
};

// Sorted by key. No action uses a setting without a row.
std::span<const Use> setting_uses();

// The actions of a key; "" if no action uses it.
std::string_view actions_of(std::span<const Use> uses, std::string_view key);

}  // namespace nvram

#endif
