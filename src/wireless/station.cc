// The router as a wireless client. Writes /tmp/sta.sh and runs it; runs insmod, ifconfig and brctl.

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "settings/networks.h"
#include "wireless/ap_security.h"
#include "wireless/wireless.h"

namespace {

constexpr const char* script_path = "/tmp/sta.sh";

// A value escaped for double quotes in the script.
std::string quoted(const char* key) {
    std::string escaped;
    ConertSpecialChar(nvram_text(key).text(), escaped, "`\"");
    return escaped;
}

void write_ssid(File& script) {
    script.print("/sbin/iwpriv ra0 set SSID=\"%s\"\n", nvram_text(station_keys.ssid).text());
}

void write_open(File& script) {
    script.print("/sbin/iwpriv ra0 set AuthMode=OPEN\n");
    script.print("/sbin/iwpriv ra0 set EncrypType=NONE\n");
    write_ssid(script);
}

void write_wep(File& script) {
    const Setting type = nvram_text(station_keys.auth_type);
    const Setting index = nvram_text(station_keys.default_key);
    const std::string key = format("wifi_key%s3", index.text());
    script.print("/sbin/iwpriv ra0 set AuthMode=%s\n", wep_auth_word(type));
    script.print("/sbin/iwpriv ra0 set EncrypType=WEP\n");
    script.print("/sbin/iwpriv ra0 set DefaultKeyID=%s\n", index.text());
    script.print("/sbin/iwpriv ra0 set Key%s=\"%s\"\n", index.text(), quoted(key.c_str()).c_str());
    write_ssid(script);
}

void write_phrase(File& script, const char* auth, const char* cipher_key, const char* phrase_key) {
    script.print("/sbin/iwpriv ra0 set AuthMode=%s\n", auth);
    script.print("/sbin/iwpriv ra0 set EncrypType=%s\n", nvram_text(cipher_key).text());
    write_ssid(script);
    script.print("/sbin/iwpriv ra0 set WPAPSK=\"%s\"\n", quoted(phrase_key).c_str());
}

void write_network(File& script) {
    script.print("/sbin/iwpriv ra0 set NetworkType=Infra\n");
    switch (nvram_text(station_keys.mode).text()[0]) {
        case '0':
            write_open(script);
            break;
        case '1':
            write_wep(script);
            break;
        case '2':
            write_phrase(script, "WPAPSK", station_keys.wpa_cipher, station_keys.wpa_phrase);
            break;
        case '3':
            write_phrase(script, "WPA2PSK", station_keys.wpa2_cipher, station_keys.wpa2_phrase);
            break;
        default:
            // A station has no RADIUS mode.
            break;
    }
}

// The radio's MAC address: the WAN's if the wireless link is the WAN.
Setting station_mac(bool wisp) {
    if (!wisp) return nvram_text("lan_assign_mac");
    Setting own = nvram_text("wan_macaddr");
    return own.empty() ? nvram_text("wan_macaddr_default") : std::move(own);
}

}  // namespace

void ConertSpecialChar(const char* source, std::string& destination, std::string_view specials) {
    destination.clear();
    for (; *source; source++) {
        if (contains(specials, {source, 1})) destination += '\\';
        destination += *source;
    }
}

int create_sta_script() {
    File script = open_secret_file(script_path, "w");
    if (!script) return 0;
    write_network(script);
    const Setting region = nvram_text("wifi_sta_region");
    if (!region.empty())
        script.print("/sbin/iwpriv ra0 set CountryRegion=%d\n", country_region(region));
    script.print("/sbin/iwpriv ra0 set WirelessMode=9\n");
    script.print("/sbin/iwpriv ra0 set EthConvertMode=dongle\n");
    return 1;
}

int start_sta() {
    const bool wisp = nvram_text("wan_line").is("wisp");
    SYSTEM(
        "/sbin/insmod /lib/modules/2.6.21/kernel/drivers/net/wireless_3200/rt2860v2_sta/"
        "rt2860v2_sta.ko mac=%s",
        station_mac(wisp).text());
    platform::sleep_seconds(1);
    if (create_sta_script() == 0) {
        print("Station Not ready !!");
        return 0;
    }
    SYSTEM("/sbin/ifconfig ra0 up");
    if (!wisp) SYSTEM("/sbin/brctl addif br0 ra0");
    platform::set_mode(script_path, script_mode);
    platform::run_shell(script_path);
    return 0;
}
