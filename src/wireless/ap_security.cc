// Security of the access point's networks, as lines of the driver's settings.

#include "wireless/ap_security.h"

#include <string>

#include "core/nvram.h"
#include "core/platform.h"

namespace {

// Values of "wifi_wep_on"; any other is WPA and WPA2 with a pass phrase.
enum SecurityMode { Open = 0, Wep = 1, WpaPsk = 2, Wpa2Psk = 3, Wpa = 5, Wpa2 = 6 };

// The keys of one network's settings.
struct SecurityKeys {
    const char* mode;
    const char* auth_type;
    const char* default_key;
    const char* key_length;
    const char* wpa_cipher;
    const char* wpa2_cipher;
    const char* wpa_phrase;
    const char* wpa2_phrase;
    const char* wep_keys[4];
};

constexpr SecurityKeys first_ssid = {
    .mode = "wifi_wep_on",
    .auth_type = "wifi_auth_type",
    .default_key = "wifi_def_key",
    .key_length = "wifi_key_len",
    .wpa_cipher = "wifi_wpapsk_key",
    .wpa2_cipher = "wifi_wpa2psk_key",
    .wpa_phrase = "wifi_psk_pwd",
    .wpa2_phrase = "wifi_psk2_pwd",
    .wep_keys = {"wifi_key1", "wifi_key2", "wifi_key3", "wifi_key4"},
};

constexpr SecurityKeys second_ssid = {
    .mode = "wifi_wep_on2",
    .auth_type = "wifi_auth_type2",
    .default_key = "wifi_def_key2",
    .key_length = "wifi_key_len2",
    .wpa_cipher = "wifi_wpapsk_key2",
    .wpa2_cipher = "wifi_wpa2psk_key2",
    .wpa_phrase = "wifi_psk_pwd2",
    .wpa2_phrase = "wifi_psk2_pwd2",
    .wep_keys = {"wifi_key12", "wifi_key22", "wifi_key32", "wifi_key42"},
};

// The values of one network's lines.
struct Security {
    int mode;
    std::string auth;
    std::string cipher;
    std::string default_key;
    int key_type;  // 1: the WEP keys are ASCII, 0: hexadecimal
    std::string phrase;
};

std::string auth_word(const SecurityKeys& keys, int mode) {
    switch (mode) {
        case Open:
            return "OPEN";
        case Wep: {
            const Setting type = nvram_text(keys.auth_type);
            return type.is("1") ? "OPEN" : type.is("2") ? "SHARED" : "WEPAUTO";
        }
        case WpaPsk:
            return "WPAPSK";
        case Wpa2Psk:
            return "WPA2PSK";
        case Wpa:
            return "WPA";
        case Wpa2:
            return "WPA2";
        default:
            return "WPAPSKWPA2PSK";
    }
}

std::string cipher_word(const SecurityKeys& keys, int mode) {
    switch (mode) {
        case Open:
            return "NONE";
        case Wep:
            return "WEP";
        case WpaPsk:
            return nvram_text(keys.wpa_cipher).text();
        case Wpa2Psk:
            return nvram_text(keys.wpa2_cipher).text();
        case Wpa:
        case Wpa2:
            return "TKIP";
        default:
            return "TKIPAES";
    }
}

Security read_security(const SecurityKeys& keys) {
    const int mode = nvram_text(keys.mode).number();
    const Setting key_length = nvram_text(keys.key_length);
    return {.mode = mode,
            .auth = auth_word(keys, mode),
            .cipher = cipher_word(keys, mode),
            .default_key = {},
            .key_type = key_length.is("5") || key_length.is("13") ? 1 : 0,
            .phrase = nvram_text(mode == WpaPsk ? keys.wpa_phrase : keys.wpa2_phrase).text()};
}

void light_indicator(const Security& security) {
    if (security.mode != Open) platform::run_shell("/bin/echo security1 > /proc/led");
}

void write_rekey(File& settings) {
    settings.print("RekeyInterval=3600\n");
    settings.print("RekeyMethod=DISABLE\n");
    settings.print("PMKCachePeriod=10\n");
}

}  // namespace

void write_one_ssid_security(File& settings) {
    Security security = read_security(first_ssid);
    security.default_key = security.mode == Wep ? nvram_text(first_ssid.default_key).text() : "2";
    light_indicator(security);

    settings.print("AuthMode=%s\n", security.auth.c_str());
    settings.print("EncrypType=%s\n", security.cipher.c_str());
    settings.print("DefaultKeyID=%s\n", security.default_key.c_str());
    write_rekey(settings);
    for (int key = 1; key <= 4; key++) settings.print("Key%dType=%d\n", key, security.key_type);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dStr=%s\n", key, nvram_text(first_ssid.wep_keys[key - 1]).text());
    settings.print("WPAPSK=%s\n", security.phrase.c_str());
}

void write_two_ssid_security(File& settings) {
    Security first = read_security(first_ssid);
    Security second = read_security(second_ssid);
    // Here the cipher decides, so a network whose cipher setting is WEP counts too.
    first.default_key = first.cipher == "WEP" ? nvram_text(first_ssid.default_key).text() : "2";
    second.default_key = second.cipher == "WEP" ? nvram_text(second_ssid.default_key).text() : "2";
    light_indicator(first);
    light_indicator(second);

    settings.print("AuthMode=%s;%s\n", first.auth.c_str(), second.auth.c_str());
    settings.print("EncrypType=%s;%s\n", first.cipher.c_str(), second.cipher.c_str());
    settings.print("DefaultKeyID=%s;%s\n", first.default_key.c_str(), second.default_key.c_str());
    write_rekey(settings);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dType=%d;%d\n", key, first.key_type, second.key_type);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dStr=%s;%s\n", key, nvram_text(first_ssid.wep_keys[key - 1]).text(),
                       nvram_text(second_ssid.wep_keys[key - 1]).text());
    settings.print("WPAPSK1=%s\n", first.phrase.c_str());
    settings.print("WPAPSK2=%s\n", second.phrase.c_str());
}
