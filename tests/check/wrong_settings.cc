// Settings with one wrong value each.

#include "wrong_settings.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "settings/records.h"
#include "settings/table.h"

namespace {

Settings settings_of(const char* path) {
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return read_settings(text);
}

struct Base {
    std::string name;
    Settings settings;
};

Base changed(const Base& base, const std::string& name, const Settings& changes) {
    Base result = {.name = base.name + ", " + name, .settings = base.settings};
    for (const auto& [key, value] : changes) result.settings[key] = value;
    return result;
}

// Each mode with what it needs.
std::vector<Base> bases() {
    const Base factory = {.name = "factory", .settings = settings_of(FACTORY_SETTINGS)};
    const Base full = {.name = "full house", .settings = settings_of(FULL_HOUSE)};
    return {
        factory,
        full,
        changed(full, "ip",
                {{"wan_mode", "ip"},
                 {"fix_ipaddr", "203.0.113.2"},
                 {"fix_gateway", "203.0.113.1"},
                 {"wan_dns1", "203.0.113.53"},
                 {"fw_remote", "1"},
                 {"fw_remote_type", "2"},
                 {"fw_remote_range_start", "198.51.100.1"},
                 {"fw_remote_range_end", "198.51.100.9"}}),
        changed(factory, "pppoe",
                {{"wan_mode", "pppoe"},
                 {"wan_ifname", "ppp0"},
                 {"pppoe_username", "me@isp"},
                 {"pppoe_password", "geheim"},
                 {"pppoe_service", "fast"},
                 {"wan_iptype_pppoe", "Fixed"},
                 {"pppoe_ipaddr", "203.0.113.7"},
                 {"wan_fix_dns", "1"},
                 {"wan_dns1", "203.0.113.53"},
                 {"wan_dns2", "203.0.113.54"}}),
        changed(factory, "pptp",
                {{"wan_mode", "pptp"},
                 {"wan_ifname", "ppp0"},
                 {"pptp_username", "me"},
                 {"pptp_password", "geheim"},
                 {"pptp_type", "1"},
                 {"pptp_server", "203.0.113.1"},
                 {"pptp_ipaddr", "10.0.0.2"},
                 {"pptp_fix_gateway", "10.0.0.1"},
                 {"pptp_wan_dns1", "10.0.0.1"}}),
        changed(factory, "l2tp",
                {{"wan_mode", "l2tp"},
                 {"wan_ifname", "ppp0"},
                 {"l2tp_username", "me"},
                 {"l2tp_password", "geheim"},
                 {"l2tp_server", "lns.example.com"},
                 {"igmp_enable", "1"},
                 {"upnp_enable", "1"},
                 {"ddns_enable", "1"},
                 {"ddns_service_provider", "dyndns"},
                 {"ddns_user_name", "me"},
                 {"ddns_password", "geheim"},
                 {"ddns_host_name", "me.example.com"}}),
        changed(full, "bpa", {{"wan_mode", "bpa"}, {"bpa_username", "me"}, {"bpa_password", "x"}}),
        changed(factory, "station",
                {{"wifi_ap_mode", "1"},
                 {"sta_ssid", "home"},
                 {"wifi_wep_on3", "3"},
                 {"wifi_psk2_pwd3", "a good phrase"}}),
        changed(full, "access point",
                {{"ap_mode", "1"}, {"ap_gateway", "192.168.1.254"}, {"ap_dns", "192.168.1.254"}}),
    };
}

const std::vector<std::string>& wrong_texts() {
    static const std::vector<std::string> texts = {
        "",
        "x",
        "0",
        "1",
        "2",
        "9",
        "1x",
        "-1",
        "a;b",
        "$(id)",
        "a b",
        "a'b",
        "a\"b",
        "a`b",
        "100%",
        "a\\b",
        "a\tb",
        "a\nb",
        "999999",
        "08",
        "010",
        "80800",
        "yes",
        "TCP",
        "Udp",
        "BOTH",
        "http",
        "192.168.1",
        "192.168.010.1",
        "192.168.1.300",
        "0.0.0.0",
        "127.0.0.1",
        "224.0.0.1",
        "255.255.255.255",
        "10.20.30.40",
        "192.168.1.1",
        "192.168.1.0",
        "255.0.255.0",
        "00:00:00:00:00:00",
        "01:00:5e:00:00:01",
        "00-11-22-33-44-55",
        "001122334455",
        "+1",
        "GMT-25",
        "eth2.2",
        "a-very-long-interface-name",
        "name:with:colons",
        "a;b;c",
        "a text that is longer than most of what a radio's driver or a file takes of a text, so long",
        "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"
        "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"};
    return texts;
}

// A record's value with another text in one of its fields.
std::string with_field(const nvram::KnownSetting& known, const std::string& value, size_t place,
                       const std::string& text) {
    const std::vector<nvram::Piece> pieces = nvram::pieces_of(known, value);
    if (pieces.empty()) return text;
    const nvram::Piece& piece = pieces[place % pieces.size()];
    std::string changed = value;
    changed.replace(static_cast<size_t>(piece.text.data() - value.data()), piece.text.size(), text);
    return changed;
}

std::string value_in(const Settings& settings, const nvram::KnownSetting& known) {
    const auto found = settings.find(known.key);
    if (found != settings.end() && !found->second.empty()) return found->second;
    return known.example != nullptr ? known.example : known.factory;
}

}  // namespace

WrongSettings wrong_setting(const std::string& base, const std::string& key,
                            const std::string& value) {
    for (const Base& known : bases()) {
        if (known.name != base) continue;
        WrongSettings wrong = {.base = base, .key = key, .settings = known.settings};
        wrong.settings[key] = value;
        return wrong;
    }
    throw std::out_of_range("no settings with the name " + base);
}

std::vector<WrongSettings> wrong_settings(size_t stride, size_t first) {
    // Every base takes its own share of the texts, so that all of them come to every key.
    std::vector<WrongSettings> all;
    const std::vector<Base> every = bases();
    size_t turn = 0;
    size_t number = 0;
    for (size_t b = 0; b < every.size(); b++) {
        for (const nvram::SettingGroup& group : nvram::setting_groups()) {
            for (const nvram::KnownSetting& known : group.settings) {
                turn++;
                for (size_t i = b; i < wrong_texts().size(); i += every.size()) {
                    if (number++ % stride != first % stride) continue;
                    std::string value = wrong_texts()[i];
                    if (known.record != nullptr)
                        value =
                            with_field(known, value_in(every[b].settings, known), turn + i, value);
                    WrongSettings wrong = {
                        .base = every[b].name, .key = known.key, .settings = every[b].settings};
                    wrong.settings[known.key] = value;
                    all.push_back(std::move(wrong));
                }
            }
        }
    }
    return all;
}
