// nvram check: wireless networks, WDS links and WPS.
#include "check_kit.h"

namespace {

using namespace nvram;

const std::string hex10 = "0123456789";
const std::string hex26 = "0123456789abcdefABCDEF0123";
const std::string hex64(64, 'a');

TEST(CheckWireless, ChecksPassPhrases) {
    const std::string needs = ", but wifi_wep_on=3 needs it";
    expect_rows({
        {{"wifi_psk2_pwd=12345678"}, {}},
        {{"wifi_psk2_pwd=" + std::string(63, 'x')}, {}},
        {{"wifi_psk2_pwd=" + hex64}, {}},
        {{"wifi_psk2_pwd="}, {"error wifi_psk2_pwd: is empty" + needs}},
        {{"wifi_psk2_pwd=1234567"}, {"error wifi_psk2_pwd: is shorter than 8 characters" + needs}},
        {{"wifi_psk2_pwd=" + std::string(64, 'x')},
         {"error wifi_psk2_pwd: has 64 characters, but not all are hexadecimal digits" + needs}},
        {{"wifi_psk2_pwd=" + std::string(65, 'a')},
         {"error wifi_psk2_pwd: has 65 characters; the maximum is 64",
          "error wifi_psk2_pwd: is longer than 63 characters" + needs}},
        {{"wifi_psk2_pwd=pass\\x09phrase"},
         {"error wifi_psk2_pwd: contains a control character; expected a text"}},
        {{"wifi_psk2_pwd=pass\\x7fphrase"},
         {"error wifi_psk2_pwd: contains a control character; expected a text"}},
        {{"wifi_psk2_pwd=p\xc3\xa4ss phrase"},
         {"error wifi_psk2_pwd: contains characters not allowed in a pass phrase" + needs}},
    });
}

// Mode 2 takes the first phrase; 3 and 4 the second.
TEST(CheckWireless, ChecksThePhraseOfTheMode) {
    expect_rows({
        {{"wifi_wep_on=2"}, {"error wifi_psk_pwd: is empty, but wifi_wep_on=2 needs it"}},
        {{"wifi_wep_on=2", "wifi_psk_pwd=12345678", "wifi_psk2_pwd="}, {}},
        {{"wifi_wep_on=3", "wifi_psk_pwd=short"}, {}},
        {{"wifi_wep_on=4", "wifi_psk2_pwd="},
         {"error wifi_psk2_pwd: is empty, but wifi_wep_on=4 needs it"}},
        {{"wifi_wep_on=0", "wifi_psk2_pwd="}, {"note wifi_wep_on: leaves the first network open"}},
        {{"wifi_wep_on=0", "wifi_psk2_pwd=", "wifi_dot11_mode=0"}, {}},
        {{"wifi_wep_on=5", "wifi_psk2_pwd="},
         {"error wifi_radius_pwd: is empty, but wifi_wep_on=5 needs it",
          "error wifi_radius_server: is empty, but wifi_wep_on=5 needs it"}},
        {{"wifi_wep_on=6", "wifi_radius_server=192.168.1.20", "wifi_radius_pwd=secret"}, {}},
        {{"wifi_wep_on=6", "wifi_radius_server=192.168.1.1", "wifi_radius_pwd=secret"},
         {"error wifi_radius_server: is the router's own address"}},
        {{"wifi_wep_on=3", "wifi_radius_server=192.168.1.1"}, {}},
    });
}

TEST(CheckWireless, ChecksWepKeys) {
    const std::string broken =
        "warning wifi_wep_on: uses WEP on the first network, which can be broken in minutes";
    const std::string wep = "wifi_wep_on=1";
    expect_rows({
        {{wep, "wifi_key1=" + hex10}, {broken}},
        {{wep, "wifi_key_len=26", "wifi_key1=" + hex26}, {broken}},
        {{wep, "wifi_key_len=5", "wifi_key1=abc d"}, {broken}},
        {{wep, "wifi_key_len=13", "wifi_key1=thirteen char"}, {broken}},
        {{wep}, {"error wifi_key1: is empty, but wifi_def_key=1 selects it", broken}},
        {{wep, "wifi_def_key=3", "wifi_key1=" + hex10},
         {"error wifi_key3: is empty, but wifi_def_key=3 selects it", broken}},
        {{wep, "wifi_key1=abcde"},
         {"error wifi_key1: does not have 10 hexadecimal digits, as wifi_key_len=10 requires",
          broken}},
        {{wep, "wifi_key1=012345678x"},
         {"error wifi_key1: does not have 10 hexadecimal digits, as wifi_key_len=10 requires",
          broken}},
        {{wep, "wifi_key_len=5", "wifi_key1=" + hex10},
         {"error wifi_key1: does not have 5 characters, as wifi_key_len=5 requires", broken}},
        // A key that is not selected causes a warning only.
        {{wep, "wifi_key1=" + hex10, "wifi_key2=abc"},
         {"warning wifi_key2: does not have 10 hexadecimal digits, as wifi_key_len=10 requires",
          broken}},
    });
}

TEST(CheckWireless, ChecksTwoNetworks) {
    const std::string two = "enable_ssid2=1";
    const std::string second = "wifi_wep_on2=3";
    const std::string phrase = "wifi_psk2_pwd2=12345678";
    const std::string part = "contains a semicolon, but enable_ssid2=1 uses two networks";
    expect_rows({
        {{two, second, phrase}, {}},
        {{two}, {"note wifi_wep_on2: leaves the second network open"}},
        {{two, second}, {"error wifi_psk2_pwd2: is empty, but wifi_wep_on2=3 needs it"}},
        {{two, "wifi_wep_on2=2"}, {"error wifi_psk_pwd2: is empty, but wifi_wep_on2=2 needs it"}},
        {{two, second, phrase, "wifi_ssid=a;b"}, {"error wifi_ssid: " + part}},
        {{two, second, phrase, "wifi_ssid2=a;b"}, {"error wifi_ssid2: " + part}},
        {{"wifi_ssid=a;b"}, {}},
        {{two, second, phrase, "wifi_ssid2=router"},
         {"warning wifi_ssid2: is also the name of the first network"}},
        {{two, second, phrase, "wifi_ssid2="}, {"error wifi_ssid2: is empty; expected a text"}},
        {{two, "wifi_wep_on2=1", "wifi_key_len2=5", "wifi_key12=ab;cd"},
         {"error wifi_key12: " + part,
          "warning wifi_wep_on2: uses WEP on the second network, which can be broken in minutes"}},
        {{two, "wifi_wep_on2=6"}, {"error wifi_wep_on2: uses RADIUS, but wifi_wep_on does not"}},
        {{two, "wifi_wep_on2=5"}, {"error wifi_wep_on2: uses RADIUS, but wifi_wep_on does not"}},
        {{two, "wifi_wep_on=5", "wifi_wep_on2=6", "wifi_radius_server=192.168.1.20",
          "wifi_radius_pwd=secret"},
         {}},
        {{two, "wifi_wep_on=6", "wifi_wep_on2=5", "wifi_radius_server=192.168.1.20",
          "wifi_radius_pwd=secret"},
         {}},
        {{two, second, phrase, "wifi_ssid=", "wifi_ssid2="},
         {"error wifi_ssid: is empty; expected a text",
          "error wifi_ssid2: is empty; expected a text"}},
        {{"wifi_wep_on2=3"}, {}},
    });
}

TEST(CheckWireless, ChecksTheStation) {
    const std::vector<std::string> station = {"wifi_ap_mode=1", "sta_ssid=net"};
    const auto with = [&](const std::vector<std::string>& more) {
        std::vector<std::string> changes = station;
        changes.insert(changes.end(), more.begin(), more.end());
        return changes;
    };
    expect_rows({
        // The access point's own security does not count then.
        {with({"wifi_wep_on=0", "wifi_psk2_pwd="}), {}},
        {with({"wifi_wep_on3=2"}), {"error wifi_psk_pwd3: is empty, but wifi_wep_on3=2 needs it"}},
        {with({"wifi_wep_on3=3", "wifi_psk2_pwd3=12345678"}), {}},
        {with({"wifi_wep_on3=1", "wifi_key13=abcde"}), {}},
        {with({"wifi_wep_on3=1", "wifi_def_key3=2", "wifi_key23=" + hex26}), {}},
        {with({"wifi_wep_on3=1", "wifi_key13=thirteen char"}), {}},
        {with({"wifi_wep_on3=1", "wifi_key13=" + hex10}), {}},
        {with({"wifi_wep_on3=1", "wifi_key13=012345678x"}),
         {"error wifi_key13: has neither 5 or 13 characters nor 10 or 26 hexadecimal digits"}},
        {with({"wifi_wep_on3=1", "wifi_key13=abcdef"}),
         {"error wifi_key13: has neither 5 or 13 characters nor 10 or 26 hexadecimal digits"}},
        {with({"wifi_wep_on3=5"}),
         {"error wifi_wep_on3: is not an allowed value; expected one of 0, 1, 2, 3"}},
    });
    EXPECT_EQ(finding_of(with({"wifi_wep_on3=5"})).effect,
              "reads only the first character: 0 to 3, and with anything else names no network");
}

// No action of rc sets up a repeater.
TEST(CheckWireless, SaysThatARepeaterHasNoEffect) {
    expect_rows({
        {{"wifi_wep_on5=2"}, {}},
        {{"ssid_apcli_wds=net", "wifi_wep_on5=2"},
         {"note ssid_apcli_wds: has no effect, like all settings of the repeater"}},
    });
}

TEST(CheckWireless, AWideChannelNeedsItsSecondHalf) {
    const std::string wide = "wifi_bandwidth=1";
    expect_rows({
        {{wide, "e_channel=1", "wifi_channel=9"}, {}},
        {{wide, "e_channel=1", "wifi_channel=10"},
         {"error e_channel: puts the second half of channel 10 above it, where there is no channel"}},
        {{wide, "e_channel=1", "wifi_channel=8", "wifi_region=USA"},
         {"error e_channel: puts the second half of channel 8 above it, where there is no channel"}},
        {{wide, "e_channel=0", "wifi_channel=5"}, {}},
        {{wide, "e_channel=0", "wifi_channel=4"},
         {"error e_channel: puts the second half of channel 4 below it, where there is no channel"}},
        {{wide, "e_channel=0", "wifi_channel=auto"}, {}},
        {{"wifi_bandwidth=2", "e_channel=0", "wifi_channel=4"}, {}},
    });
}

TEST(CheckWireless, ARadioThatIsOffMakesSettingsIdle) {
    expect_rows({{{"wifi_dot11_mode=0", "enable_ssid2=1", "wds_enable=1"},
                  {"note wifi_dot11_mode: turns the radio off"}},
                 {{"wifi_dot11_mode=0"}, {}}});
    EXPECT_EQ(finding_of({"wifi_dot11_mode=0", "enable_ssid2=1", "wds_enable=1"}).effect,
              "makes no use of: enable_ssid2, wds_enable");
}

TEST(CheckWireless, ChecksTheChannelAndWmmNumbers) {
    expect_rows({
        {{"wifi_channel=13"}, {}},
        {{"wifi_channel=11", "wifi_region=USA"}, {}},
        {{"wifi_channel=12", "wifi_region=USA"},
         {"error wifi_channel: is not used in wifi_region=USA"}},
        {{"wifi_channel=13", "wifi_region=Canada"},
         {"error wifi_channel: is not used in wifi_region=Canada"}},
        {{"wifi_channel=auto", "wifi_region=Canada"}, {}},
        {{"wifi_wmm_ap=4_6_3_0_4_10_7_0_3_4_1_94_2_3_1"},
         {"error wifi_wmm_ap: has 15 numbers; expected 16"}},
        {{"wifi_wmm_sta=4_6_3_0_4_10_7_0_3_4_1_94_2_3_1_47_5"},
         {"error wifi_wmm_sta: has 17 entries; the maximum is 16"}},
    });
}

TEST(CheckWireless, ReportsAnEmptyAccessList) {
    const std::string mac = "00:11:22:33:44:55";
    expect_rows({
        {{"wifi_access_control=1"},
         {"warning wifi_access_list: is empty, but wifi_access_control=1 needs it"}},
        {{"wifi_access_control=1", "wifi_access_list=" + mac}, {}},
        {{"wifi_access_control=2"}, {}},
    });
    EXPECT_EQ(finding_of({"wifi_access_control=1"}).effect, "lets no client join");
}

TEST(CheckLinks, ChecksWds) {
    const std::string on = "wds_enable=1";
    const std::string peer = "wds_list1=00:11:22:33:44:55";
    const std::string channel = "wifi_channel=6";
    expect_rows({
        {{on, peer, channel}, {}},
        {{on, channel}, {"warning wds_enable: is on, but no peer is set"}},
        {{on, peer}, {"warning wifi_channel: is auto, but WDS peers must share one channel"}},
        {{on, "wds_list2=02:00:00:00:00:01", channel},
         {"error wds_list2: is the router's own MAC address"}},
        {{on, peer, channel, "wifi_wep_on=4"},
         {"warning wifi_wep_on: has no counterpart for WDS links"}},
        {{on, peer, channel, "wifi_wpa2psk_key=TKIPAES"},
         {"warning wifi_wpa2psk_key: selects two ciphers, but a WDS link uses one"}},
        {{on, peer, channel, "wifi_wep_on=2", "wifi_psk_pwd=12345678", "wifi_wpapsk_key=TKIPAES"},
         {"warning wifi_wpapsk_key: selects two ciphers, but a WDS link uses one"}},
        {{on, peer, channel, "wifi_wep_on=2", "wifi_psk_pwd=12345678", "wifi_wpa2psk_key=TKIPAES"},
         {}},
        {{on, "wds_list1=00:11:22:33:44", channel},
         {"error wds_list1: is not a MAC address; expected six pairs of hexadecimal digits, such"
          " as 00:11:22:33:44:55"}},
        {{peer}, {}},
    });
    EXPECT_EQ(finding_of({on, peer, channel, "wifi_wep_on=4"}).effect,
              "leaves the links unencrypted (WdsEncrypType=NONE)");
}

TEST(CheckLinks, ChecksWps) {
    const std::string on = "h_wsc_enable=1";
    const std::string bad =
        "warning wsc_device_pin: is not a PIN of 8 digits whose last one is the check digit";
    const std::string no_number =
        "error wsc_device_pin: is not a number; expected a number from 0 to 99999999";
    expect_rows({
        {{on}, {}},
        {{on, "wsc_device_pin=12345670"}, {}},
        {{on, "wsc_device_pin=00000000"}, {}},
        {{on, "wsc_device_pin=12345678"}, {bad}},
        {{on, "wsc_device_pin=1234567"}, {bad}},
        {{on, "wsc_device_pin=1234567a"}, {no_number, bad}},
        {{on, "wsc_device_pin=1234567/"}, {no_number, bad}},
        {{on, "wifi_wep_on=1", "wifi_key1=" + hex10},
         {"warning h_wsc_enable: is on, but WPS supports neither WEP nor RADIUS",
          "warning wifi_wep_on: uses WEP on the first network, which can be broken in minutes"}},
        {{"wsc_device_pin=12345678"}, {}},
        {{on, "wifi_wep_on=6", "wifi_radius_server=192.168.1.20", "wifi_radius_pwd=secret"},
         {"warning h_wsc_enable: is on, but WPS supports neither WEP nor RADIUS"}},
    });
}

}  // namespace
