// The router as a repeater. Appends to /var/RT2860AP.dat.

#include "core/file.h"
#include "core/nvram.h"
#include "core/text.h"
#include "wireless/wireless.h"

namespace {

void write_ssid(File& settings) {
    settings.print("ApCliSsid=%s\n", nvram_text("ssid_apcli_wds").text());
}

void write_wep(File& settings) {
    const Setting type = nvram_text("wifi_auth_type5");
    const Setting index = nvram_text("wifi_def_key5");
    const Setting key = nvram_text(format("wifi_key%s5", index.text()).c_str());
    if (type.is("1"))
        settings.print("ApCliAuthMode=OPEN\n");
    else if (type.is("2"))
        settings.print("ApCLiAuthMode=SHARED\n");  // the driver's key has this capital letter
    else
        settings.print("ApCliAuthMode=WEPAUTO\n");
    settings.print("ApCliEncrypType=WEP\n");
    settings.print("ApCliDefaultKeyID=%s\n", index.text());
    settings.print("ApCliKey%sType=0\n", index.text());
    settings.print("ApCliKey%sStr=%s\n", index.text(), key.text());
    write_ssid(settings);
}

void write_phrase(File& settings, const char* auth, const char* cipher_key,
                  const char* phrase_key) {
    settings.print("ApCliAuthMode=%s\n", auth);
    settings.print("ApCliEncrypType=%s\n", nvram_text(cipher_key).text());
    write_ssid(settings);
    settings.print("ApCliWPAPSK=%s\n", nvram_text(phrase_key).text());
}

}  // namespace

int create_apcli_cfg() {
    File settings = open_file("/var/RT2860AP.dat", "a+");
    if (!settings) return 0;
    settings.print("ApCliEnable=1\n");
    switch (nvram_text("wifi_wep_on5").text()[0]) {
        case '0':
            settings.print("ApCliAuthMode=OPEN\n");
            settings.print("ApCliEncrypType=NONE\n");
            write_ssid(settings);
            break;
        case '1':
            write_wep(settings);
            break;
        case '2':
            write_phrase(settings, "WPAPSK", "wifi_wpapsk_key5", "wifi_psk_pwd5");
            break;
        default:
            write_phrase(settings, "WPA2PSK", "wifi_wpa2psk_key5", "wifi_psk2_pwd5");
            break;
    }
    return 1;
}
