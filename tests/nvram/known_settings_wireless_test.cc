// Rows of the table of all settings: the radio, its networks, the router as a wireless client.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "settings/table.h"

using namespace nvram;

namespace {

const KnownSetting& row(const char* key) {
    static const KnownSetting none = {.key = "", .form = Form::Interface, .help = ""};
    const KnownSetting* found = find_known(key);
    EXPECT_NE(found, nullptr) << key;
    return found ? *found : none;
}

const KnownSetting& row(const std::string& key) {
    return row(key.c_str());
}

void expect_choice(const std::string& key, const char* words, const char* factory) {
    EXPECT_EQ(row(key).form, Form::Choice) << key;
    EXPECT_STREQ(row(key).choices, words) << key;
    EXPECT_STREQ(row(key).factory, factory) << key;
}

void expect_number(const char* key, int low, int high, const char* factory) {
    EXPECT_EQ(row(key).form, Form::Number) << key;
    EXPECT_EQ(row(key).low, low) << key;
    EXPECT_EQ(row(key).high, high) << key;
    EXPECT_STREQ(row(key).factory, factory) << key;
}

}  // namespace

TEST(KnownWirelessSettings, TheRadio) {
    expect_choice("wifi_dot11_mode", "0 1 2 3 4 5 6 7", "5");
    expect_choice("wifi_channel", "auto 1 2 3 4 5 6 7 8 9 10 11 12 13", "auto");
    expect_choice("wifi_bandwidth", "1 2", "2");
    expect_choice("wifi_BasicRate", "0 1 2", "0");
    expect_choice("qos_ds", "enable disable", "enable");
    expect_number("wifi_beacon", 20, 1000, "100");
    expect_number("wifi_dtim", 1, 255, "1");
    expect_number("wifi_rts", 1, 2347, "2347");
    expect_number("wifi_fragment", 256, 2346, "2346");
    expect_number("wifi_TxPower", 0, 100, "100");
    // Two antennas send and three receive.
    expect_number("wifi_HT_TxStream", 1, 2, "2");
    expect_number("wifi_HT_RxStream", 1, 3, "2");
}

TEST(KnownWirelessSettings, ValuesThatTheDriverGetsWholeAreChoices) {
    for (const char* key : {"Pkt_Agg", "ShortSlot", "isolation", "e_channel"}) {
        EXPECT_EQ(row(key).form, Form::Choice) << key;
        EXPECT_STREQ(row(key).choices, "0 1") << key;
        EXPECT_FALSE(row(key).may_be_empty) << key;
    }
    for (const char* key : {"TxPreamble", "wifi_broadcast_ssid", "enable_ssid2", "wds_enable"})
        EXPECT_EQ(row(key).form, Form::Flag) << key;
}

TEST(KnownWirelessSettings, ARegionsNameMayContainASpace) {
    const char* regions =
        "USA|Canada|Africa|Asia|Australia|Europe|Israel|Japan|Mexico|South America";
    EXPECT_EQ(choice_separator(regions), '|');
    EXPECT_EQ(choice_separator("enable disable"), ' ');
    expect_choice("wifi_region", regions, "Europe");
    expect_choice("wifi_sta_region", regions, "");
    EXPECT_FALSE(row("wifi_region").may_be_empty);
    EXPECT_TRUE(row("wifi_sta_region").may_be_empty);
}

TEST(KnownWirelessSettings, WmmIsSixteenNumbers) {
    for (const char* key : {"wifi_wmm_ap", "wifi_wmm_sta"}) {
        const KnownSetting& wmm = row(key);
        ASSERT_EQ(wmm.form, Form::Record) << key;
        EXPECT_EQ(wmm.record->between, '_') << key;
        EXPECT_EQ(wmm.record->most, 16u) << key;
        ASSERT_EQ(wmm.record->fields.size(), 1u) << key;
        EXPECT_EQ(wmm.record->fields[0].form, Form::Number) << key;
        EXPECT_EQ(std::ranges::count(std::string_view(wmm.factory), '_'), 15) << key;
    }
}

TEST(KnownWirelessSettings, SecurityOfBothNetworks) {
    for (const char* network : {"", "2"}) {
        const std::string n = network;
        expect_choice("wifi_wep_on" + n, "0 1 2 3 4 5 6", "0");
        expect_choice("wifi_key_len" + n, "5 10 13 26", "10");
        expect_choice("wifi_wpapsk_key" + n, "TKIP AES TKIPAES", "TKIP");
        EXPECT_FALSE(row("wifi_wep_on" + n).may_be_empty) << "an empty one is an open network";
    }
    expect_number("wifi_radius_port", 1, 65535, "1812");
    EXPECT_EQ(row("wifi_radius_server").form, Form::Address);
    EXPECT_TRUE(row("wifi_radius_pwd").secret);
}

// The access point's networks have no suffix and 2, a station's settings have 3, a repeater's 5.
TEST(KnownWirelessSettings, EveryProfileHasItsKeysAndPhrases) {
    for (const char* profile : {"", "2", "3", "5"}) {
        const std::string n = profile;
        for (const char* number : {"1", "2", "3", "4"}) {
            const KnownSetting& key = row("wifi_key" + (number + n));
            EXPECT_EQ(key.form, n == "5" ? Form::Hex : Form::Text) << key.key;
            EXPECT_EQ(key.high, 26) << key.key;
            EXPECT_TRUE(key.secret) << key.key;
            EXPECT_TRUE(key.may_be_empty) << key.key;
        }
        for (const char* phrase : {"wifi_psk_pwd", "wifi_psk2_pwd"}) {
            EXPECT_EQ(row(phrase + n).high, 64) << phrase << n;
            EXPECT_TRUE(row(phrase + n).secret) << phrase << n;
        }
        expect_choice("wifi_auth_type" + n, "1 2 3", "1");
        expect_choice("wifi_def_key" + n, "1 2 3 4", "1");
        EXPECT_FALSE(row("wifi_wpapsk_key" + n).secret) << "a cipher's name";
    }
    // A station and a repeater have no RADIUS, and one cipher at a time.
    for (const std::string n : {"3", "5"}) {
        expect_choice("wifi_wep_on" + n, "0 1 2 3", "0");
        expect_choice("wifi_wpa2psk_key" + n, "TKIP AES", "AES");
    }
}

TEST(KnownWirelessSettings, NamesHave32Characters) {
    for (const char* key : {"wifi_ssid", "wifi_ssid2", "sta_ssid", "ssid_apcli_wds"}) {
        EXPECT_EQ(row(key).form, Form::Text) << key;
        EXPECT_EQ(row(key).high, 32) << key;
    }
}

TEST(KnownWirelessSettings, TheAccessList) {
    const KnownSetting& list = row("wifi_access_list");
    ASSERT_EQ(list.form, Form::Record);
    EXPECT_EQ(list.record->between, '\x01');
    EXPECT_STREQ(list.record->shape, "mac");
    EXPECT_EQ(list.record->most, 56u);
    ASSERT_EQ(list.record->fields.size(), 1u);
    EXPECT_EQ(list.record->fields[0].form, Form::Mac);
    expect_choice("wifi_access_control", "0 1 2", "0");
}

TEST(KnownWirelessSettings, WdsPeersAndWps) {
    for (const char* key : {"wds_list1", "wds_list2", "wds_list3", "wds_list4"}) {
        EXPECT_EQ(row(key).form, Form::Mac) << key;
        EXPECT_TRUE(row(key).may_be_empty) << key;
    }
    expect_choice("wds_type", "1 2 3 4", "2");
    expect_choice("wifi_wsc_configured", "0 1", "0");
    EXPECT_FALSE(row("h_wsc_enable").may_be_empty);
}
