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

// All settings of the file, read together before its first line: the commands that light the
// security indicator run in the middle, and a save during them must not mix two configurations.
struct ApSettings {
    Setting dot11_mode = nvram_text("wifi_dot11_mode");
    Setting region = nvram_text("wifi_region");
    bool two_ssids = nvram_text("enable_ssid2").on();
    Setting ssid = nvram_text("wifi_ssid");
    Setting ssid2 = nvram_text("wifi_ssid2");
    Setting channel = nvram_text("wifi_channel");
    bool auto_channel = channel.is("auto");
    Setting basic_rate = nvram_text("wifi_BasicRate");
    Setting beacon = nvram_text("wifi_beacon");
    Setting dtim = nvram_text("wifi_dtim");
    Setting tx_power = nvram_text("wifi_TxPower");
    Setting preamble = nvram_text("TxPreamble");
    Setting rts = nvram_text("wifi_rts");
    Setting fragment = nvram_text("wifi_fragment");
    Setting aggregate = nvram_text("Pkt_Agg");
    Setting wmm = nvram_text("qos_ds");
    Setting wmm_ap = nvram_text("wifi_wmm_ap");
    Setting wmm_sta = nvram_text("wifi_wmm_sta");
    Setting isolation = nvram_text("isolation");
    Setting broadcast_ssid = nvram_text("wifi_broadcast_ssid");
    Setting short_slot = nvram_text("ShortSlot");
    SecuritySettings security{first_network_keys};
    SecuritySettings security2{second_network_keys};
    Setting access_control = nvram_text("wifi_access_control");
    Setting access_list = nvram_text("wifi_access_list");
    bool wds = nvram_text("wds_enable").on();
    Setting wds_type = nvram_text("wds_type");
    Setting wds_peers[4] = {nvram_text("wds_list1"), nvram_text("wds_list2"),
                            nvram_text("wds_list3"), nvram_text("wds_list4")};
    Setting radius_server = nvram_text("wifi_radius_server");
    Setting radius_port = nvram_text("wifi_radius_port");
    Setting radius_password = nvram_text("wifi_radius_pwd");
    Setting lan_address = nvram_text("lan_ipaddr");
    Setting lan_if = nvram_text("lan_if");
    Setting tx_streams = nvram_text("wifi_HT_TxStream");
    Setting rx_streams = nvram_text("wifi_HT_RxStream");
    Setting bandwidth = nvram_text("wifi_bandwidth");
    Setting extension_channel = nvram_text("e_channel");

    char mode() const { return dot11_mode.text()[0]; }
    char security_mode() const { return security.mode.text()[0]; }
};

void write_identity(File& settings, const ApSettings& ap) {
    settings.print("Default\n");
    settings.print("CountryRegion=%d\n", country_region(ap.region));
    settings.print("CountryRegionABand=7\n");
    settings.print("CountryCode=%s\n", country_of(ap.region));
    settings.print("BssidNum=%d\n", ap.two_ssids ? 2 : 1);
    if (ap.two_ssids)
        settings.print("SSID=%s;%s\n", ap.ssid.text(), ap.ssid2.text());
    else
        settings.print("SSID=%s\n", ap.ssid.text());
}

void write_radio(File& settings, const ApSettings& ap) {
    settings.print("WirelessMode=%s\n", wireless_mode(ap.mode()));
    settings.print("TxRate=0\n");
    settings.print("Channel=%s\n", ap.auto_channel ? "0" : ap.channel.text());
    settings.print("BasicRate=%s\n", basic_rate(ap.basic_rate.text()[0]));
    settings.print("BeaconPeriod=%s\n", ap.beacon.text());
    settings.print("DtimPeriod=%s\n", ap.dtim.text());
    settings.print("TxPower=%s\n", ap.tx_power.text());
    settings.print("DisableOLBC=0\n");
    settings.print("BGProtection=0\n");
    settings.print("TxAntenna=\n");
    settings.print("RxAntenna=\n");
    settings.print("TxPreamble=%d\n", ap.preamble.on() ? 1 : 0);
    settings.print("RTSThreshold=%s\n", ap.rts.text());
    settings.print("FragThreshold=%s\n", ap.fragment.text());
    settings.print("TxBurst=0\n");
    settings.print("PktAggregate=%s\n", ap.aggregate.text());
    settings.print("TurboRate=0\n");
}

void write_wmm(File& settings, const ApSettings& ap) {
    settings.print("WmmCapable=%d\n", ap.wmm.is("disable") ? 0 : 1);
    parse_wmm(ap.wmm_ap.text()).write(settings, "AP");
    settings.print("APACM=0;0;0;0\n");
    parse_wmm(ap.wmm_sta.text()).write(settings, "BSS");
    settings.print("BSSACM=0;0;0;0\n");
    settings.print("AckPolicy=0;0;0;0\n");
    settings.print("APSDCapable=0\n");
    settings.print("DLSCapable=0\n");
}

void write_access_point(File& settings, const ApSettings& ap) {
    const char* second = ap.two_ssids ? ";1" : "";
    settings.print("NoForwarding=%s%s\n", ap.isolation.text(), second);
    const bool hex_key = ap.security.wpa_phrase.view().size() == hex_key_length;
    settings.print("WscKeyASCII=%d\n", hex_key ? 0 : 1);
    settings.print("NoForwardingBTNBSSID=1\n");
    settings.print("HideSSID=%d%s\n", ap.broadcast_ssid.on() ? 0 : 1, ap.two_ssids ? ";0" : "");
    settings.print("ShortSlot=%s\n", ap.short_slot.text());
    settings.print("AutoChannelSelect=%d\n", ap.auto_channel ? 1 : 0);
    settings.print("IEEE8021X=0\n");
    settings.print("IEEE80211H=0\n");
    settings.print("CarrierDetect=0\n");
    settings.print("CSPeriod=6\n");
    settings.print("PreAuth=0\n");
    if (ap.two_ssids)
        write_two_ssid_security(settings, ap.security, ap.security2);
    else
        write_one_ssid_security(settings, ap.security);
    settings.print("HSCounter=0\n");
}

// One policy and one list apply to both networks; the script sets the same in the running driver.
void write_access_control(File& settings, File& script, const ApSettings& ap) {
    const int policy = ap.access_control.on()                      ? 1
                       : ap.access_control.view().starts_with('2') ? 2
                                                                   : 0;
    const std::string list = joined_access_list(ap.access_list.view());

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

// The cipher of the WDS links.
const char* wds_cipher(const ApSettings& ap) {
    switch (ap.security_mode()) {
        case '1':
            return "WEP";
        case '2':
            return ap.security.wpa_cipher.text();
        case '3':
            return ap.security.wpa2_cipher.text();
        default:
            return "NONE";
    }
}

// The key of the WDS links, empty for open ones.
const char* wds_secret(const ApSettings& ap) {
    const char index = ap.security.default_key.text()[0];
    switch (ap.security_mode()) {
        case '1':
            return ap.security.wep_keys[index >= '2' && index <= '4' ? index - '1' : 0].text();
        case '2':
            return ap.security.wpa_phrase.text();
        case '3':
            return ap.security.wpa2_phrase.text();
        default:
            return "";
    }
}

void write_wds(File& settings, const ApSettings& ap) {
    if (!ap.wds)
        settings.print("WdsEnable=0\n");
    else if (ap.mode() == '7' || ap.mode() == '4')
        settings.print("WdsEnable=3\n");
    else
        settings.print("WdsEnable=%s\n", ap.wds_type.text());

    settings.print("WdsEncrypType=%s\n", wds_cipher(ap));
    settings.print("WdsList=%s\n", joined_wds_peers(ap.wds_peers).c_str());
    settings.print("WdsKey=%s\n", wds_secret(ap));
    settings.print("WdsPhyMode=HTMIX\n");
}

void write_radius(File& settings, const ApSettings& ap) {
    const std::string own_address(cut(ap.lan_address.view(), limits::own_address));
    settings.print("RADIUS_Server=%s\n", ap.radius_server.text());
    settings.print("RADIUS_Port=%s\n", ap.radius_port.text());
    settings.print("RADIUS_Key=%s\n", ap.radius_password.text());
    settings.print("own_ip_addr=%s\n", own_address.c_str());
    settings.print("EAPifname=%s\n", ap.lan_if.text());
    settings.print("PreAuthifname=%s\n", ap.lan_if.text());
}

void write_high_throughput(File& settings, const ApSettings& ap) {
    settings.print("HT_HTC=1\n");
    settings.print("HT_LinkAdapt=0\n");
    settings.print("HT_RDG=%d\n", ap.wds ? 0 : 1);
    settings.print("HT_OpMode=0\n");
    settings.print("HT_TxStream=%s\n", ap.tx_streams.text());
    settings.print("HT_RxStream=%s\n", ap.rx_streams.text());
    settings.print("HT_PROTECT=1\n");
    settings.print("HT_MpduDensity=5\n");
    if (ap.bandwidth.view().starts_with('2')) {
        settings.print("HT_BW=0\n");
    } else {
        settings.print("HT_BW=1\n");
        settings.print("HT_EXTCHA=%s\n", ap.auto_channel ? "0" : ap.extension_channel.text());
    }
    settings.print("HT_AutoBA=1\n");
    settings.print("HT_AMSDU=0\n");
    settings.print("HT_BAWinSize=64\n");
    settings.print("HT_GI=1\n");
    settings.print("HT_STBC=1\n");
    settings.print("HT_MCS=33\n");
}

}  // namespace

int country_region(const Setting& region) {
    return region.is("USA") || region.is("Canada") ? 0 : 1;
}

int create_wifi_cfg() {
    const ApSettings ap;
    File settings = open_secret_file("/var/RT2860AP.dat", "w");
    File script = open_file("/tmp/wifi_acc", "w");
    const bool ready = settings && script && ap.mode() != '0';
    if (ready) {
        write_identity(settings, ap);
        write_radio(settings, ap);
        write_wmm(settings, ap);
        write_access_point(settings, ap);
        write_access_control(settings, script, ap);
        write_wds(settings, ap);
        write_radius(settings, ap);
        write_high_throughput(settings, ap);
    }
    settings.close();
    script.close();
    return ready ? 1 : 0;
}
