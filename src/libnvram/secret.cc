// Which settings are secret: passwords, pass phrases, WEP keys, the WPS PIN.
#include "libnvram/secret.h"

namespace nvram {

// Prefixes of keys, since a wireless profile's number follows: wifi_psk_pwd2 is the second SSID's,
// wifi_key13 the station's first WEP key. (wifi_key_len and wifi_wpapsk_key are not secret: a
// length and a cipher's name.)
static constexpr const char* secret_prefixes[] = {
    "wifi_key1",    "wifi_key2",     "wifi_key3",       "wifi_key4",
    "wifi_psk_pwd", "wifi_psk2_pwd", "wifi_radius_pwd", "wsc_device_pin",
};

bool is_secret(std::string_view key) {
    for (const char* prefix : secret_prefixes)
        if (key.starts_with(prefix)) return true;
    // http_password, mail_password, ddns_password, bpa_password, pppoe_password, pptp_password,
    // l2tp_password, and any key of another program with such a name.
    return key.find("passw") != std::string_view::npos;
}

}  // namespace nvram
