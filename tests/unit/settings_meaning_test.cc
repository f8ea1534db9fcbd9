// Compares the table of all settings with rc: which words have a meaning, which settings are read
// by their first character only, which value an empty one equals.

#include <algorithm>
#include <set>
#include <sstream>

#include "core/run_state.h"
#include "recorded.h"
#include "settings/areas.h"
#include "settings/table.h"
#include "wireless/unused.h"
#include "wireless/wireless.h"

namespace {

using Words = std::vector<std::string>;

const nvram::KnownSetting& row(const std::string& key) {
    static const nvram::KnownSetting none = {.key = "", .form = nvram::Form::Text, .help = ""};
    const nvram::KnownSetting* found = nvram::find_known(key);
    EXPECT_NE(found, nullptr) << key;
    return found ? *found : none;
}

Words words_of(std::string_view choices) {
    Words words;
    std::stringstream stream{std::string(choices)};
    for (std::string word; std::getline(stream, word, nvram::choice_separator(choices));)
        words.push_back(word);
    return words;
}

// The transcript of rc on a router with these settings; without words, the repeater's lines.
Recording done(Settings settings, const Words& words, const std::string& key,
               const std::string& value) {
    settings[key] = value;
    Recording played;
    const Playing playing(played);
    played.world.put(working_copy, settings_image(settings));
    if (words.empty()) {
        const FreshRunState state;
        create_apcli_cfg();
    } else {
        play(played, words);
    }
    return played;
}

const Words wan_start = {"rc", "wan", "start"};
const Words wan_stop = {"rc", "wan", "stop"};
const Words wlan_start = {"rc", "wlan", "start"};
const Words wlan_stop = {"rc", "wlan", "stop"};
const Words ddns_start = {"rc", "ddns", "start"};
const Words firewall_create = {"rc", "firewall", "create"};
const Words repeater_lines = {};

struct Switch {
    const char* key;
    // The word that an empty value equals; null if it equals none.
    const char* empty;
    Words words;
    Settings settings = {};
};

const Settings wep = {{"wifi_wep_on", "1"}, {"wifi_dot11_mode", "5"}};
const Settings two_wep = {{"enable_ssid2", "1"}, {"wifi_wep_on2", "1"}, {"wifi_dot11_mode", "5"}};
const Settings station_wep = {{"wifi_ap_mode", "1"}, {"ap_mode", "0"}, {"wifi_wep_on3", "1"}};
const Settings repeater_wep = {{"wifi_wep_on5", "1"}};
const Settings pptp = {{"wan_mode", "pptp"}, {"pptp_type", "1"}, {"pptp_ipaddr", "10.0.0.2"}};
const Settings l2tp = {{"wan_mode", "l2tp"}, {"l2tp_type", "1"}, {"l2tp_ipaddr", "10.0.0.2"}};

Settings with(Settings settings, const std::string& key, const std::string& value) {
    settings[key] = value;
    return settings;
}

// Each with a run that the setting changes.
const Switch flags[] = {
    {"ddns_enable", "1", ddns_start},
    {"ddns_use_wildcards", "1", ddns_start, {{"ddns_enable", "1"}}},
    {"pptp_dod", "0", wan_start, with(pptp, "pptp_idle", "5")},
    {"l2tp_dod", nullptr, wan_start, with(l2tp, "l2tp_idle", "5")},
    {"ras_dod", "0", wan_start, {{"wan_mode", "ras"}}},
    {"wifi_ap_mode", "0", wlan_start, {{"ap_mode", "0"}}},
    {"TxPreamble", "0", wlan_start},
    {"wifi_broadcast_ssid", "0", wlan_start},
    {"enable_ssid2", "0", wlan_start},
    {"wds_enable", "0", wlan_start, {{"wds_list1", "00:11:22:33:44:55"}}},
    {"h_wsc_enable", "0", wlan_start},
};

const Switch choices[] = {
    {"wan_line", "ethernet", wan_start, {{"wan_mode", "dhcpc"}}},
    {"wan_fix_dns", "0", wan_start, {{"wan_mode", "dhcpc"}}},
    {"wan_fix_dns", "0", wan_start, {{"wan_mode", "bpa"}}},
    {"wan_fix_dns", "0", wan_start, {{"wan_mode", "pppoe"}, {"wan_dns1", "10.0.0.1"}}},
    {"wan_dod", "0", wan_start, {{"wan_mode", "pppoe"}, {"pppoe_idle", "5"}}},
    {"wan_iptype_pppoe", "Dynamic", wan_start, {{"wan_mode", "pppoe"}}},
    {"pptp_server_type", "i", wan_start, pptp},
    {"pptp_type", "0", wan_start, pptp},
    {"l2tp_type", "0", wan_start, l2tp},
    {"bpa_login", "0", firewall_create, {{"wan_mode", "bpa"}}},
    {"ras_login", "0", firewall_create, {{"wan_mode", "ras"}}},
    {"wifi_dot11_mode", "5", wlan_start},
    {"wifi_bandwidth", "1", wlan_start},
    {"wifi_BasicRate", "0", wlan_start},
    {"qos_ds", "enable", wlan_start},
    {"wifi_auth_type", "3", wlan_start, wep},
    {"wifi_auth_type2", "3", wlan_start, two_wep},
    {"wifi_auth_type3", "3", wlan_start, station_wep},
    {"wifi_auth_type5", "3", repeater_lines, repeater_wep},
    {"wifi_key_len", "10", wlan_start, wep},
    {"wifi_key_len", "26", wlan_start, wep},
    {"wifi_key_len2", "10", wlan_start, two_wep},
    {"wifi_key_len2", "26", wlan_start, two_wep},
    {"wifi_access_control", "0", wlan_start},
    {"wifi_wsc_configured", "0", wlan_start, {{"h_wsc_enable", "1"}}},
    // These may not be empty, but rc handles an empty value.
    {"wifi_wep_on", "0", wlan_start},
    {"wifi_wep_on2", "0", wlan_start, {{"enable_ssid2", "1"}}},
    {"wifi_wep_on5", "3", repeater_lines},
};

std::vector<const nvram::KnownSetting*> rows_of_wan_and_wireless() {
    std::vector<const nvram::KnownSetting*> rows;
    for (const std::span<const nvram::KnownSetting> group :
         {nvram::wan_settings, nvram::pppoe_settings, nvram::pptp_settings, nvram::l2tp_settings,
          nvram::login_client_settings, nvram::ddns_settings, nvram::radio_settings,
          nvram::network_settings, nvram::guest_network_settings, nvram::radio_access_settings,
          nvram::station_settings, nvram::repeater_settings})
        for (const nvram::KnownSetting& setting : group) rows.push_back(&setting);
    return rows;
}

template <size_t size>
bool names(const Switch (&switches)[size], std::string_view key) {
    return std::ranges::any_of(switches, [key](const Switch& one) { return one.key == key; });
}

TEST(SettingsMeaning, OnlyTheFirstCharacterOfAFlagCounts) {
    for (const Switch& flag : flags) {
        const auto run = [&flag](const char* value) {
            return done(flag.settings, flag.words, flag.key, value).transcript.text();
        };
        EXPECT_EQ(row(flag.key).form, nvram::Form::Flag) << flag.key;
        EXPECT_EQ(run("1"), run("1x")) << flag.key;
        EXPECT_EQ(run("0"), run("0x")) << flag.key;
        EXPECT_NE(run("0"), run("1")) << flag.key;
    }
    for (const nvram::KnownSetting* setting : rows_of_wan_and_wireless()) {
        if (setting->form != nvram::Form::Flag) continue;
        EXPECT_TRUE(names(flags, setting->key)) << setting->key;
    }
}

template <size_t size>
void expect_empty_values(const Switch (&switches)[size]) {
    for (const Switch& one : switches) {
        const auto run = [&one](const std::string& value) {
            return done(one.settings, one.words, one.key, value).transcript.text();
        };
        const std::string empty = run("");
        if (one.empty) {
            EXPECT_EQ(empty, run(one.empty)) << one.key;
        }
        bool differs = false;
        const std::string words = *row(one.key).choices ? row(one.key).choices : "0 1";
        for (const std::string& word : words_of(words)) differs |= run(word) != empty;
        EXPECT_TRUE(differs) << one.key << " changes nothing in this run";
    }
}

TEST(SettingsMeaning, AnEmptyFlagHasTheTablesMeaning) {
    expect_empty_values(flags);
    for (const char* word : {"0", "1"}) {
        const Settings l2tp_idle = with(l2tp, "l2tp_idle", "5");
        EXPECT_NE(done(l2tp_idle, wan_start, "l2tp_dod", "").transcript.text(),
                  done(l2tp_idle, wan_start, "l2tp_dod", word).transcript.text());
    }
    // An empty one does not stop WPS.
    EXPECT_NE(done({}, wlan_stop, "h_wsc_enable", "").transcript.text(),
              done({}, wlan_stop, "h_wsc_enable", "0").transcript.text());
}

TEST(SettingsMeaning, AnEmptyChoiceHasTheTablesMeaning) {
    expect_empty_values(choices);
    for (const nvram::KnownSetting* setting : rows_of_wan_and_wireless()) {
        const std::string_view key = setting->key;
        if (setting->form != nvram::Form::Choice || !setting->may_be_empty) continue;
        // An empty mode and an empty region of the station are different from all words.
        if (key == "wan_mode" || key == "wifi_sta_region") continue;
        EXPECT_TRUE(names(choices, key)) << key;
    }
}

TEST(SettingsMeaning, EveryWanModeStartsAndNoOtherDoes) {
    const auto starts = [](const std::string& mode) {
        return done({}, wan_start, "wan_mode", mode).transcript.text().find("set    wan_ifname=") !=
               std::string::npos;
    };
    for (const std::string& mode : words_of(row("wan_mode").choices))
        EXPECT_TRUE(starts(mode)) << mode;
    for (const char* mode : {"", "dhcp", "static", "pppo", "IP"})
        EXPECT_FALSE(starts(mode)) << mode;
}

TEST(SettingsMeaning, EveryRegionHasADifferentCountry) {
    std::set<std::string> countries;
    const auto country = [](const std::string& region) {
        const Recording played = done({}, wlan_start, "wifi_region", region);
        const std::string* settings = played.world.get("/var/RT2860AP.dat");
        if (!settings) return std::string("no file");
        const size_t line =
            settings->find("CountryCode=") + std::string_view("CountryCode=").size();
        return settings->substr(line, 2);
    };
    EXPECT_EQ(country(""), "TW");
    for (const std::string& region : words_of(row("wifi_region").choices)) {
        EXPECT_NE(country(region), "TW") << region;
        EXPECT_TRUE(countries.insert(country(region)).second) << region;
    }
    EXPECT_EQ(countries.size(), 10u);
}

TEST(SettingsMeaning, TheAccessListHasTheTablesLimit) {
    const auto kept = [](size_t records) {
        std::string list;
        for (size_t i = 0; i < records; i++) list += "00:11:22:33:44:55\x01";
        return (joined_access_list(list).size() + 1) / 18;
    };
    const size_t most = row("wifi_access_list").record->most;
    EXPECT_EQ(kept(most), most);
    EXPECT_EQ(kept(most + 1), most);
}

TEST(SettingsMeaning, ZeroIdleMinutesMeanNoIdleOption) {
    const struct {
        const char* key;
        Settings settings;
    } idles[] = {
        {"pppoe_idle", {{"wan_mode", "pppoe"}, {"wan_dod", "1"}}},
        {"pptp_idle", with(pptp, "pptp_dod", "1")},
        {"l2tp_idle", with(l2tp, "l2tp_dod", "1")},
    };
    for (const auto& idle : idles) {
        const auto run = [&idle](const char* minutes) {
            return done(idle.settings, wan_start, idle.key, minutes).transcript.text();
        };
        EXPECT_EQ(run(""), run("0")) << idle.key;
        EXPECT_NE(run("0"), run("5")) << idle.key;
        EXPECT_NE(run("35791394").find("idle 2147483640 demand"), std::string::npos) << idle.key;
    }
}

}  // namespace
