// The access point driver's settings file, /var/RT2860AP.dat, in the order of its lines; and the
// script /tmp/wifi_acc, which gives the running driver its MAC access list.

#include <array>
#include <string>

#include "core/file.h"
#include "core/limits.h"
#include "core/nvram.h"
#include "core/text.h"
#include "wireless/ap_security.h"
#include "wireless/wireless.h"

namespace {

constexpr size_t own_address_limit = 15;
// The length of a pre-shared key in hexadecimal; a shorter text is a pass phrase.
constexpr size_t hex_key_length = 64;

struct Region {
    const char* name;
    const char* country;
};
constexpr Region regions[] = {
    {"USA", "US"},    {"Canada", "CA"}, {"Africa", "ZA"}, {"Asia", "KR"},   {"Australia", "AU"},
    {"Europe", "AT"}, {"Israel", "IL"}, {"Japan", "JP"},  {"Mexico", "MX"}, {"South America", "HN"},
};

const char* country_of(const Setting& region) {
    for (const Region& known : regions)
        if (region.is(known.name)) return known.country;
    return "TW";
}

const char* wireless_mode(char dot11_mode) {
    switch (dot11_mode) {
        case '1':
            return "1";
        case '2':
            return "0";
        case '3':
            return "4";
        case '4':
            return "6";
        case '6':
            return "7";
        default:
            return "9";
    }
}

const char* basic_rate(char rate) {
    return rate == '1' ? "351" : rate == '2' ? "3" : "15";
}

// Four access categories, each CWmin, CWmax, AIFSN, TXOP; missing numbers are 0.
struct WmmNumbers {
    std::array<int, limits::wmm_numbers> numbers = {};

    // Each line has one value of all categories.
    void write(File& settings, const char* prefix) const {
        write_line(settings, prefix, "Aifsn", 2);
        write_line(settings, prefix, "Cwmin", 0);
        write_line(settings, prefix, "Cwmax", 1);
        write_line(settings, prefix, "Txop", 3);
    }

  private:
    void write_line(File& settings, const char* prefix, const char* name, size_t place) const {
        settings.print("%s%s=%d;%d;%d;%d\n", prefix, name, numbers[place], numbers[place + 4],
                       numbers[place + 8], numbers[place + 12]);
    }
};

WmmNumbers parse_wmm(std::string_view text) {
    WmmNumbers wmm;
    for (int& number : wmm.numbers)
        if (!scan_int(text, '_', number)) break;
    return wmm;
}

// Settings used by several lines.
struct ApSettings {
    char dot11_mode = nvram_text("wifi_dot11_mode").text()[0];
    bool two_ssids = nvram_text("enable_ssid2").on();
    Setting channel = nvram_text("wifi_channel");
    bool auto_channel = channel.is("auto");
    bool wds = nvram_text("wds_enable").on();
    char security = nvram_text("wifi_wep_on").text()[0];
};

void write_identity(File& settings, const ApSettings& ap) {
    const Setting region = nvram_text("wifi_region");
    settings.print("Default\n");
    settings.print("CountryRegion=%d\n", region.is("USA") || region.is("Canada") ? 0 : 1);
    settings.print("CountryRegionABand=7\n");
    settings.print("CountryCode=%s\n", country_of(region));
    settings.print("BssidNum=%d\n", ap.two_ssids ? 2 : 1);
    if (ap.two_ssids)
        settings.print("SSID=%s;%s\n", nvram_text("wifi_ssid").text(),
                       nvram_text("wifi_ssid2").text());
    else
        settings.print("SSID=%s\n", nvram_text("wifi_ssid").text());
}

void write_radio(File& settings, const ApSettings& ap) {
    settings.print("WirelessMode=%s\n", wireless_mode(ap.dot11_mode));
    settings.print("TxRate=0\n");
    settings.print("Channel=%s\n", ap.auto_channel ? "0" : ap.channel.text());
    settings.print("BasicRate=%s\n", basic_rate(nvram_text("wifi_BasicRate").text()[0]));
    settings.print("BeaconPeriod=%s\n", nvram_text("wifi_beacon").text());
    settings.print("DtimPeriod=%s\n", nvram_text("wifi_dtim").text());
    settings.print("TxPower=%s\n", nvram_text("wifi_TxPower").text());
    settings.print("DisableOLBC=0\n");
    settings.print("BGProtection=0\n");
    settings.print("TxAntenna=\n");
    settings.print("RxAntenna=\n");
    settings.print("TxPreamble=%d\n", nvram_text("TxPreamble").on() ? 1 : 0);
    settings.print("RTSThreshold=%s\n", nvram_text("wifi_rts").text());
    settings.print("FragThreshold=%s\n", nvram_text("wifi_fragment").text());
    settings.print("TxBurst=0\n");
    settings.print("PktAggregate=%s\n", nvram_text("Pkt_Agg").text());
    settings.print("TurboRate=0\n");
}

void write_wmm(File& settings) {
    settings.print("WmmCapable=%d\n", nvram_text("qos_ds").is("disable") ? 0 : 1);
    parse_wmm(nvram_text("wifi_wmm_ap").text()).write(settings, "AP");
    settings.print("APACM=0;0;0;0\n");
    parse_wmm(nvram_text("wifi_wmm_sta").text()).write(settings, "BSS");
    settings.print("BSSACM=0;0;0;0\n");
    settings.print("AckPolicy=0;0;0;0\n");
    settings.print("APSDCapable=0\n");
    settings.print("DLSCapable=0\n");
}

void write_access_point(File& settings, const ApSettings& ap) {
    const char* second = ap.two_ssids ? ";1" : "";
    settings.print("NoForwarding=%s%s\n", nvram_text("isolation").text(), second);
    const bool hex_key = nvram_text("wifi_psk_pwd").view().size() == hex_key_length;
    settings.print("WscKeyASCII=%d\n", hex_key ? 0 : 1);
    settings.print("NoForwardingBTNBSSID=1\n");
    settings.print("HideSSID=%d%s\n", nvram_text("wifi_broadcast_ssid").on() ? 0 : 1,
                   ap.two_ssids ? ";0" : "");
    settings.print("ShortSlot=%s\n", nvram_text("ShortSlot").text());
    settings.print("AutoChannelSelect=%d\n", ap.auto_channel ? 1 : 0);
    settings.print("IEEE8021X=0\n");
    settings.print("IEEE80211H=0\n");
    settings.print("CarrierDetect=0\n");
    settings.print("CSPeriod=6\n");
    settings.print("PreAuth=0\n");
    if (ap.two_ssids)
        write_two_ssid_security(settings);
    else
        write_one_ssid_security(settings);
    settings.print("HSCounter=0\n");
}

// One policy and one list apply to both networks; the script sets the same in the running driver.
void write_access_control(File& settings, File& script) {
    const Setting control = nvram_text("wifi_access_control");
    const int policy = control.on() ? 1 : control.view().starts_with('2') ? 2 : 0;
    const std::string list = joined_access_list(nvram_text("wifi_access_list").view());

    script.print("/sbin/iwpriv ra0 set AccessPolicy=%d\n", policy);
    script.print("/sbin/iwpriv ra1 set AccessPolicy=%d\n", policy);
    settings.print("AccessPolicy0=%d\n", policy);
    settings.print("AccessPolicy1=%d\n", policy);
    settings.print("AccessControlList0=%s\n", list.c_str());
    script.print("/sbin/iwpriv ra0 set ACLAddEntry=\"%s\"\n", list.c_str());
    settings.print("AccessControlList1=%s\n", list.c_str());
    settings.print("AccessPolicy2=0\n");
    settings.print("AccessControlList2=\n");
    settings.print("AccessPolicy3=0\n");
    settings.print("AccessControlList3=\n");
}

// The key of the setting with the cipher of the WDS links; null unless it is WPA-PSK or WPA2-PSK.
const char* wds_cipher_key(char security) {
    return security == '2' ? "wifi_wpapsk_key" : security == '3' ? "wifi_wpa2psk_key" : nullptr;
}

const char* wds_secret_key(char security) {
    if (security == '2') return "wifi_psk_pwd";
    if (security == '3') return "wifi_psk2_pwd";
    if (security != '1') return nullptr;
    switch (nvram_text("wifi_def_key").text()[0]) {
        case '2':
            return "wifi_key2";
        case '3':
            return "wifi_key3";
        case '4':
            return "wifi_key4";
        default:
            return "wifi_key1";
    }
}

void write_wds(File& settings, const ApSettings& ap) {
    if (!ap.wds)
        settings.print("WdsEnable=0\n");
    else if (ap.dot11_mode == '7' || ap.dot11_mode == '4')
        settings.print("WdsEnable=3\n");
    else
        settings.print("WdsEnable=%s\n", nvram_text("wds_type").text());

    const char* cipher = wds_cipher_key(ap.security);
    settings.print("WdsEncrypType=%s\n", ap.security == '1' ? "WEP"
                                         : cipher           ? nvram_text(cipher).text()
                                                            : "NONE");
    settings.print("WdsList=%s\n", joined_wds_peers().c_str());
    const char* secret = wds_secret_key(ap.security);
    settings.print("WdsKey=%s\n", secret ? nvram_text(secret).text() : "");
    settings.print("WdsPhyMode=HTMIX\n");
}

void write_radius(File& settings) {
    const std::string own_address(cut(nvram_text("lan_ipaddr").view(), own_address_limit));
    const Setting bridge = nvram_text("lan_if");
    settings.print("RADIUS_Server=%s\n", nvram_text("wifi_radius_server").text());
    settings.print("RADIUS_Port=%s\n", nvram_text("wifi_radius_port").text());
    settings.print("RADIUS_Key=%s\n", nvram_text("wifi_radius_pwd").text());
    settings.print("own_ip_addr=%s\n", own_address.c_str());
    settings.print("EAPifname=%s\n", bridge.text());
    settings.print("PreAuthifname=%s\n", bridge.text());
}

void write_high_throughput(File& settings, const ApSettings& ap) {
    settings.print("HT_HTC=1\n");
    settings.print("HT_LinkAdapt=0\n");
    settings.print("HT_RDG=%d\n", ap.wds ? 0 : 1);
    settings.print("HT_OpMode=0\n");
    settings.print("HT_TxStream=%s\n", nvram_text("wifi_HT_TxStream").text());
    settings.print("HT_RxStream=%s\n", nvram_text("wifi_HT_RxStream").text());
    settings.print("HT_PROTECT=1\n");
    settings.print("HT_MpduDensity=5\n");
    if (nvram_text("wifi_bandwidth").view().starts_with('2')) {
        settings.print("HT_BW=0\n");
    } else {
        settings.print("HT_BW=1\n");
        settings.print("HT_EXTCHA=%s\n", ap.auto_channel ? "0" : nvram_text("e_channel").text());
    }
    settings.print("HT_AutoBA=1\n");
    settings.print("HT_AMSDU=0\n");
    settings.print("HT_BAWinSize=64\n");
    settings.print("HT_GI=1\n");
    settings.print("HT_STBC=1\n");
    settings.print("HT_MCS=33\n");
}

}  // namespace

int create_wifi_cfg() {
    const ApSettings ap;
    File settings = open_file("/var/RT2860AP.dat", "w");
    File script = open_file("/tmp/wifi_acc", "w");
    const bool ready = settings && script && ap.dot11_mode != '0';
    if (ready) {
        write_identity(settings, ap);
        write_radio(settings, ap);
        write_wmm(settings);
        write_access_point(settings, ap);
        write_access_control(settings, script);
        write_wds(settings, ap);
        write_radius(settings);
        write_high_throughput(settings, ap);
    }
    settings.close();
    script.close();
    return ready ? 1 : 0;
}
