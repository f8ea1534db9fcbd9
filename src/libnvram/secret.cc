// Which settings are secret: passwords, pass phrases, WEP keys, the WPS PIN.
#include "libnvram/secret.h"

namespace nvram {

// The secrets of the table of settings that are not called passwords. They are the beginnings of
// names, since a wireless profile's number follows: wifi_psk_pwd2 is the second network's,
// wifi_key13 the station's first WEP key.
static constexpr const char* secret_beginnings[] = {
#include "libnvram/secret.inc"
};

bool is_secret(std::string_view key) {
    for (const char* beginning : secret_beginnings)
        if (key.starts_with(beginning)) return true;
    return names_password(key);
}

bool names_password(std::string_view key) {
    return key.find("passw") != std::string_view::npos;
}

}  // namespace nvram
