// Security of the access point's networks, as lines of the driver's settings.

#include "wireless/ap_security.h"

#include <string_view>

#include "core/platform.h"

namespace {

// Values of "wifi_wep_on"; any other is WPA and WPA2 with a pass phrase.
enum SecurityMode { Open = 0, Wep = 1, WpaPsk = 2, Wpa2Psk = 3, Wpa = 5, Wpa2 = 6 };

// The values of one network's lines. The texts belong to its settings.
struct Security {
    int mode;
    const char* auth;
    const char* cipher;
    int key_type;  // 1: the WEP keys are ASCII, 0: hexadecimal
    const char* phrase;
};

const char* auth_word(const SecuritySettings& network, int mode) {
    switch (mode) {
        case Open:
            return "OPEN";
        case Wep:
            return wep_auth_word(network.auth_type);
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

const char* cipher_word(const SecuritySettings& network, int mode) {
    switch (mode) {
        case Open:
            return "NONE";
        case Wep:
            return "WEP";
        case WpaPsk:
            return network.wpa_cipher.text();
        case Wpa2Psk:
            return network.wpa2_cipher.text();
        case Wpa:
        case Wpa2:
            return "TKIP";
        default:
            return "TKIPAES";
    }
}

Security security_of(const SecuritySettings& network) {
    const int mode = network.mode.number();
    return {.mode = mode,
            .auth = auth_word(network, mode),
            .cipher = cipher_word(network, mode),
            .key_type = network.key_length.is("5") || network.key_length.is("13") ? 1 : 0,
            .phrase = mode == WpaPsk ? network.wpa_phrase.text() : network.wpa2_phrase.text()};
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

const char* wep_auth_word(const Setting& type) {
    return type.is("1") ? "OPEN" : type.is("2") ? "SHARED" : "WEPAUTO";
}

SecuritySettings::SecuritySettings(const NetworkKeys& keys)
    : mode(nvram_text(keys.mode)),
      auth_type(nvram_text(keys.auth_type)),
      default_key(nvram_text(keys.default_key)),
      key_length(nvram_text(keys.key_length)),
      wpa_cipher(nvram_text(keys.wpa_cipher)),
      wpa2_cipher(nvram_text(keys.wpa2_cipher)),
      wpa_phrase(nvram_text(keys.wpa_phrase)),
      wpa2_phrase(nvram_text(keys.wpa2_phrase)),
      wep_keys{nvram_text(keys.wep_keys[0]), nvram_text(keys.wep_keys[1]),
               nvram_text(keys.wep_keys[2]), nvram_text(keys.wep_keys[3])} {}

void write_one_ssid_security(File& settings, const SecuritySettings& network) {
    const Security security = security_of(network);
    light_indicator(security);

    settings.print("AuthMode=%s\n", security.auth);
    settings.print("EncrypType=%s\n", security.cipher);
    settings.print("DefaultKeyID=%s\n", security.mode == Wep ? network.default_key.text() : "2");
    write_rekey(settings);
    for (int key = 1; key <= 4; key++) settings.print("Key%dType=%d\n", key, security.key_type);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dStr=%s\n", key, network.wep_keys[key - 1].text());
    settings.print("WPAPSK=%s\n", security.phrase);
}

void write_two_ssid_security(File& settings, const SecuritySettings& first_network,
                             const SecuritySettings& second_network) {
    const Security first = security_of(first_network);
    const Security second = security_of(second_network);
    light_indicator(first);
    light_indicator(second);

    settings.print("AuthMode=%s;%s\n", first.auth, second.auth);
    settings.print("EncrypType=%s;%s\n", first.cipher, second.cipher);
    // Here the cipher decides, so a network whose cipher setting is WEP counts too.
    settings.print(
        "DefaultKeyID=%s;%s\n",
        std::string_view(first.cipher) == "WEP" ? first_network.default_key.text() : "2",
        std::string_view(second.cipher) == "WEP" ? second_network.default_key.text() : "2");
    write_rekey(settings);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dType=%d;%d\n", key, first.key_type, second.key_type);
    for (int key = 1; key <= 4; key++)
        settings.print("Key%dStr=%s;%s\n", key, first_network.wep_keys[key - 1].text(),
                       second_network.wep_keys[key - 1].text());
    settings.print("WPAPSK1=%s\n", first.phrase);
    settings.print("WPAPSK2=%s\n", second.phrase);
}
