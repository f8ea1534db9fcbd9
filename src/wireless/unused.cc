// Nothing in rc calls these: the driver's settings of a repeater, and the radio's default
// calibration image. They append to /var/RT2860AP.dat and write /etc/RT2880_eeprom_v1_0.bin.

#include "wireless/unused.h"

#include <algorithm>
#include <array>
#include <span>

#include "core/file.h"
#include "core/nvram.h"
#include "core/text.h"

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
    File settings = open_secret_file("/var/RT2860AP.dat", "a+");
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

namespace {

constexpr size_t image_size = 512;

struct Part {
    size_t offset;
    std::span<const unsigned char> bytes;
};

// Chip and version; then a locally administered placeholder for the MAC address.
constexpr unsigned char chip[] = {0x60, 0x28, 0x01, 0x01};
constexpr unsigned char default_mac[] = {0x02, 0x28, 0x60, 0x01, 0x01, 0x01};
constexpr unsigned char device[] = {0x01, 0x06, 0x14, 0x18, 0x01, 0x80, 0x00, 0x00, 0x60, 0x28,
                                    0x14, 0x18, 0x00, 0x00, 0x01, 0x00, 0x6a, 0xff, 0x00, 0x02};
constexpr unsigned char nic_configuration[] = {0x23, 0x01, 0x04, 0x00};
constexpr unsigned char frequency_offset[] = {0x14, 0x00};
constexpr unsigned char country_and_gain[] = {0x0a, 0xff, 0x00, 0x00, 0x00,
                                              0x00, 0x00, 0x00, 0x00, 0x00};
// Two paths, channels 1 to 14 each.
constexpr unsigned char channel_power[] = {
    0x0a, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0e, 0x0e, 0x0f, 0x0f, 0x10, 0x10, 0x10, 0x10,
    0x11, 0x11, 0x11, 0x11, 0x11, 0x12, 0x12, 0x12, 0x13, 0x13, 0x14, 0x14, 0x14, 0x14,
};
constexpr unsigned char rate_power[] = {0x66, 0x66, 0xcc, 0xaa, 0x88, 0x66, 0xcc, 0xaa, 0x88,
                                        0x66, 0xcc, 0xaa, 0x88, 0x66, 0xcc, 0xaa, 0x88, 0x66};

constexpr Part parts[] = {
    {0x000, chip},
    {0x004, default_mac},
    {0x00A, device},
    {0x034, nic_configuration},
    {0x03A, frequency_offset},
    {0x044, country_and_gain},
    {0x052, channel_power},
    {0x0DE, rate_power},
};

constexpr std::array<unsigned char, image_size> make_image() {
    std::array<unsigned char, image_size> image = {};
    image.fill(0xFF);
    for (const Part& part : parts)
        std::copy(part.bytes.begin(), part.bytes.end(), image.data() + part.offset);
    return image;
}

constexpr std::array<unsigned char, image_size> image = make_image();

}  // namespace

int write_eeprom_image() {
    File file = open_file("/etc/RT2880_eeprom_v1_0.bin", "wb");
    if (!file) return 0;
    file.write(image);
    return 1;
}
