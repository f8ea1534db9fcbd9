// The restarts that bring a running router from one settings file to another.

#include "plan/diff/restarts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "nvram/restarts.h"
#include "plan/diff/cover.h"
#include "plan/diff/running.h"
#include "plan/router/plan.h"
#include "plan/router/recording.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A router with all optional features switched off.
const Settings plain = {
    {"ap_mode", "0"},
    {"ddns_enable", "0"},
    {"dhcp_end_ip", "192.168.1.64"},
    {"dhcp_server_enable", "1"},
    {"dhcp_start_ip", "192.168.1.33"},
    {"fw_nat", "1"},
    {"http_password", "1234"},
    {"http_timeout", "5"},
    {"http_username", "admin"},
    {"lan_if", "br0"},
    {"lan_ipaddr", "192.168.1.1"},
    {"lan_lease_time", "1"},
    {"lan_netmask", "255.255.255.0"},
    {"log_type", "0"},
    {"ntp_custom", "0"},
    {"rt_rip_direction", "0"},
    {"time_zone", "GMT-0"},
    {"wan_fix_dns", "0"},
    {"wan_line", "ethernet"},
    {"wan_mode", "dhcpc"},
    {"wan_mtu", "1500"},
    {"wan_phy_ifname", "eth2.2"},
};

Settings with(const Settings& changes, Settings settings = plain) {
    for (const auto& [key, value] : changes) settings[key] = value;
    return settings;
}

std::string words_of(const Restart& restart) {
    std::string text = "rc";
    for (const std::string& word : restart.words) text += " " + word;
    return text;
}

std::vector<std::string> words_of(const std::vector<Restart>& restarts) {
    std::vector<std::string> list;
    list.reserve(restarts.size());
    for (const Restart& restart : restarts) list.push_back(words_of(restart));
    return list;
}

Advice advice_for(const Settings& changes) {
    return needed_restarts(plain, with(changes), {});
}

TEST(Restarts, NoneForTheSameSettings) {
    const Advice advice = advice_for({});
    EXPECT_THAT(advice.fewest, IsEmpty());
    EXPECT_THAT(advice.gentlest, IsEmpty());
    EXPECT_THAT(advice.at_boot.because, IsEmpty());
    EXPECT_THAT(advice.unused, IsEmpty());
}

TEST(Restarts, OneApplicationWithItsReasonsAndUnusedSettings) {
    const Advice advice = advice_for({{"dhcp_start_ip", "192.168.1.40"},
                                      {"lan_lease_time", "2"},
                                      {"no_such_key", "1"},
                                      {"pppoe_username", "not in this mode"}});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc dhcpd restart"));
    EXPECT_THAT(advice.fewest[0].covers, ElementsAre("dhcpd"));
    EXPECT_THAT(advice.fewest[0].effects.because, ElementsAre("dhcp_start_ip", "lan_lease_time"));
    EXPECT_THAT(advice.fewest[0].effects.files, ElementsAre("/etc/udhcpd.conf"));
    EXPECT_THAT(advice.fewest[0].effects.stored, IsEmpty());
    EXPECT_FALSE(advice.fewest[0].effects.commands);
    EXPECT_THAT(advice.gentlest, IsEmpty());
    EXPECT_THAT(advice.unused, ElementsAre("no_such_key", "pppoe_username"));
}

TEST(Restarts, EveryApplicationThatReadsASetting) {
    struct Row {
        Settings changes;
        std::vector<std::string> restarts;
    };
    for (const Row& row : {
             Row{{{"http_timeout", "9"}}, {"rc httpd restart"}},
             Row{{{"http_password", ""}}, {"rc httpd restart"}},
             Row{{{"lan_bipaddr", "192.168.1.255"}}, {"rc lan restart"}},
             // Its own name server replaces the provider's known one.
             Row{{{"dhcp_dns_ip", "192.0.2.9"}}, {"rc dhcpd restart"}},
             Row{{{"wifi_ssid", "attic"}}, {"rc wlan restart"}},
             Row{{{"mail_sender", "a@b"}}, {"rc syslogd restart"}},
             Row{{{"ntp_custom", "1"}, {"ntp_server", "192.0.2.4"}}, {"rc ntp restart"}},
             Row{{{"rt_static_route", "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"}},
                 {"rc route restart"}},
             Row{{{"rt_rip_direction", "both"}}, {"rc ripd restart"}},
             Row{{{"upnp_enable", "1"}}, {"rc upnp restart"}},
             Row{{{"wan_account", "host"}}, {"rc wan restart"}},
             Row{{{"fw_response_ping", "1"}}, {"rc firewall restart"}},
             Row{{{"ddns_enable", "1"}}, {"rc ddns restart"}},
         }) {
        const Advice advice = advice_for(row.changes);
        EXPECT_EQ(words_of(advice.fewest), row.restarts) << row.changes.begin()->first;
        EXPECT_THAT(advice.unused, IsEmpty()) << row.changes.begin()->first;
    }
}

// A period that is open at the recorded time, Monday at midnight: both write /tmp/cron_schedule,
// and the firewall the crontab as well.
TEST(Restarts, TheFirewallIncludesTheSchedule) {
    const Advice advice = advice_for({{"fw_schedule", "1:0:0-23:59"}});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc firewall restart"));
    EXPECT_THAT(advice.fewest[0].covers, ElementsAre("firewall", "schedule"));
    EXPECT_THAT(advice.fewest[0].effects.files, ElementsAre("/tmp/cron_schedule", "/var/crontab"));
}

TEST(Restarts, AGroupInsteadOfItsApplicationsAndViceVersa) {
    const Advice advice = advice_for({{"dhcp_start_ip", "192.168.1.40"}, {"http_timeout", "9"}});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc restart"));
    EXPECT_THAT(advice.fewest[0].covers, ElementsAre("httpd", "dhcpd"));
    EXPECT_THAT(advice.fewest[0].effects.because, ElementsAre("dhcp_start_ip", "http_timeout"));
    ASSERT_THAT(words_of(advice.gentlest), ElementsAre("rc httpd restart", "rc dhcpd restart"));
    EXPECT_THAT(advice.gentlest[0].effects.because, ElementsAre("http_timeout"));
    EXPECT_THAT(advice.gentlest[1].effects.because, ElementsAre("dhcp_start_ip"));
}

// Two of the services: their group is one action.
TEST(Restarts, TheGroupOfTheServices) {
    const Advice advice = advice_for({{"ddns_enable", "1"}, {"fw_response_ping", "1"}});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc service restart"));
    EXPECT_THAT(advice.fewest[0].covers, ElementsAre("firewall", "ddns"));
    ASSERT_THAT(words_of(advice.gentlest), ElementsAre("rc firewall restart", "rc ddns restart"));
}

// A start over PPPoE runs "rc service restart" itself; one that leases its address does not.
TEST(Restarts, ANestedRunCoversWhatItRuns) {
    const Advice to_pppoe = advice_for({{"wan_mode", "pppoe"}});
    ASSERT_THAT(words_of(to_pppoe.fewest), ElementsAre("rc wan restart"));
    EXPECT_THAT(to_pppoe.fewest[0].covers, ElementsAre("wan", "wan_basic", "firewall", "igmp"));
    EXPECT_THAT(to_pppoe.fewest[0].effects.stored, ElementsAre("wan_ifname"));
    const Advice back = needed_restarts(with({{"wan_mode", "pppoe"}}), plain, {});
    ASSERT_THAT(words_of(back.fewest), ElementsAre("rc wan restart", "rc service restart"));
}

TEST(Restarts, SettingsReadOnlyAtBootAreReported) {
    const Advice only = advice_for({{"restore_default", "1"}});
    EXPECT_THAT(only.fewest, IsEmpty());
    EXPECT_THAT(only.at_boot.because, ElementsAre("restore_default"));
    EXPECT_THAT(only.unused, IsEmpty());
    // The service definitions are stored unchanged.
    const Settings defined = with({{"fw_services_def", "web:tcp:80-80"}});
    EXPECT_THAT(
        needed_restarts(defined, with({{"upgrade_default", "1"}}, defined), {}).at_boot.stored,
        ElementsAre("upgrade_default"));
    // The relay starts at boot only; the firewall and the port follow a restart.
    const Advice also = advice_for({{"wan_line", "wisp"}});
    ASSERT_THAT(words_of(also.fewest), ElementsAre("rc wan restart", "rc firewall restart"));
    EXPECT_THAT(also.at_boot.because, ElementsAre("wan_line"));
    EXPECT_TRUE(also.at_boot.commands);
}

// With the user's own name servers, wan_basic writes /etc/resolv.conf, and the DHCP server reads
// it.
TEST(Restarts, AnApplicationThatReadsTheServicesFilesComesAfterThem) {
    const Settings own = with({{"wan_dns1", "192.0.2.54"}, {"wan_fix_dns", "1"}});
    const Advice advice = needed_restarts(own, with({{"wan_dns1", "192.0.2.55"}}, own), {});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc service restart", "rc dhcpd restart"));
    // A link that goes down and comes up again is not such a dependency.
    const Advice link = advice_for({{"ntp_custom", "1"}, {"wan_account", "host"}});
    ASSERT_THAT(words_of(link.fewest), ElementsAre("rc ntp restart", "rc wan restart"));
    // Without such a dependency the order is the boot's.
    const Advice apart = needed_restarts(
        own, with({{"dhcp_start_ip", "192.168.1.40"}, {"fw_response_ping", "1"}}, own), {});
    ASSERT_THAT(words_of(apart.fewest), ElementsAre("rc dhcpd restart", "rc firewall restart"));
}

// rc stores wan_ifname itself; if B has another value, it must be stored again.
TEST(Restarts, ASettingThatTheBootOverwrites) {
    const Advice advice =
        needed_restarts(with({{"wan_ifname", "eth2.2"}}), with({{"wan_ifname", "ppp0"}}), {});
    ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc wan restart"));
    EXPECT_THAT(advice.fewest[0].effects.because, ElementsAre("wan_ifname"));
    EXPECT_THAT(advice.fewest[0].effects.stored, ElementsAre("wan_ifname"));
}

// The stop of a route deletes the route in the settings at that time.
TEST(Restarts, AStopBeforeTheChange) {
    const Settings routed =
        with({{"rt_static_route", "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"}});
    const Advice away = needed_restarts(routed, with({{"rt_static_route", ""}}), {});
    ASSERT_THAT(words_of(away.fewest), ElementsAre("rc route restart"));
    ASSERT_EQ(away.before.size(), 1U);
    EXPECT_THAT(away.before[0].words, ElementsAre("route", "stop"));
    EXPECT_THAT(away.before[0].because, ElementsAre("rt_static_route"));
    EXPECT_THAT(away.before[0].only_with_a,
                ElementsAre("/sbin/route del -net 10.1.0.0 netmask 255.255.0.0 gw 192.168.1.254"
                            " metric 2"));
    // A new route has nothing to delete.
    EXPECT_THAT(needed_restarts(with({{"rt_static_route", ""}}), routed, {}).before, IsEmpty());
    // The stop of the Internet side runs the stop of the services, which are reported separately.
    const Advice bridge = advice_for({{"lan_if", "br1"}});
    ASSERT_EQ(bridge.before.size(), 2U);
    EXPECT_THAT(bridge.before[0].words, ElementsAre("upnp", "stop"));
    EXPECT_THAT(bridge.before[0].only_with_a,
                ElementsAre("route del -net 239.0.0.0 netmask 255.0.0.0 br0"));
    EXPECT_THAT(bridge.before[1].words, ElementsAre("firewall", "stop"));
    EXPECT_THAT(bridge.before[1].only_with_a, ElementsAre("/usr/sbin/tc qdisc del dev br0 root"));
    // The Internet side is stopped with A's interface.
    EXPECT_THAT(advice_for({{"wan_mode", "pppoe"}}).before, IsEmpty());
}

// An unknown mode starts nothing; only its name is printed.
TEST(Restarts, OutputIsNotAnEffect) {
    const Advice advice =
        needed_restarts(with({{"wan_mode", "foo"}}), with({{"wan_mode", "fox"}}), {});
    EXPECT_THAT(advice.fewest, IsEmpty());
    EXPECT_THAT(advice.unused, ElementsAre("wan_mode"));
}

// The schedule's own environment ends with its run; the crontab and the clients keep the zone.
TEST(Restarts, ARunsOwnEnvironmentIsNotAnEffect) {
    const Advice advice = advice_for({{"time_zone", "GMT-1"}});
    ASSERT_THAT(words_of(advice.gentlest),
                ElementsAre("rc syslogd restart", "rc ntp restart", "rc firewall restart"));
    EXPECT_THAT(advice.gentlest[2].covers, ElementsAre("firewall"));
    EXPECT_THAT(advice.gentlest[2].effects.files, ElementsAre("/var/crontab"));
}

// A router in use has an address, a gateway and resolved names, which the tunnel needs.
TEST(Restarts, ATunnelDials) {
    const Settings a = with({{"wan_mode", "pptp"},
                             {"pptp_server_domain", "one.example"},
                             {"pptp_server_type", "d"},
                             {"pptp_username", "one"}});
    for (const char* key : {"pptp_server_domain", "pptp_username"}) {
        const Advice advice = needed_restarts(a, with({{key, "two.example"}}, a), {});
        ASSERT_THAT(words_of(advice.fewest), ElementsAre("rc wan restart"));
        EXPECT_THAT(advice.fewest[0].effects.because, ElementsAre(key));
    }
}

// Only a WAN that is up has a multicast proxy: a stated router is used unchanged.
TEST(Restarts, AStatedRouterIsUsedUnchanged) {
    const Settings a = with({{"igmp_enable", "1"}, {"igmp_version", "2"}});
    const Settings b = with({{"igmp_version", "3"}}, a);
    ASSERT_THAT(words_of(needed_restarts(a, b, {}).fewest), ElementsAre("rc igmp restart"));
    const Advice down = needed_restarts(a, b, World{});
    EXPECT_THAT(down.fewest, IsEmpty());
    EXPECT_THAT(down.unused, ElementsAre("igmp_version"));
}

// The chosen restarts, run on a router that was booted with A and then got B, produce the files and
// settings of a router booted with B.
TEST(Restarts, GiveTheSameRouterAsABoot) {
    const Settings own = {{"wan_dns1", "192.0.2.54"}, {"wan_fix_dns", "1"}};
    struct Row {
        const char* what;
        Settings a;
        Settings b;
    };
    for (const Row& row : {
             Row{"LAN", {}, {{"lan_ipaddr", "192.168.7.1"}, {"dhcp_start_ip", "192.168.7.40"}}},
             Row{"PPPoE", {}, {{"wan_mode", "pppoe"}, {"pppoe_username", "u"}}},
             Row{"from PPPoE", {{"wan_mode", "pppoe"}}, {{"wan_mode", "dhcpc"}}},
             Row{"fixed address",
                 {},
                 {{"wan_mode", "ip"}, {"fix_ipaddr", "203.0.113.5"}, {"wan_dns1", "192.0.2.60"}}},
             Row{"name servers", own, {{"wan_dns1", "192.0.2.55"}}},
             Row{"PPTP by name",
                 {},
                 {{"wan_mode", "pptp"},
                  {"pptp_server_type", "d"},
                  {"pptp_server_domain", "tunnel.example"}}},
             Row{"schedule and mail",
                 {},
                 {{"fw_schedule", "1:0:0-23:59"}, {"mail_sendlog", "2"}, {"time_zone", "GMT-1"}}},
             Row{"DMZ and remote management",
                 {},
                 {{"fw_dmz_enable", "1"},
                  {"fw_dmz", "192.168.1.9"},
                  {"fw_remote", "1"},
                  {"fw_remote_type", "3"},
                  {"fw_remote_port", "8080"}}},
             Row{"wireless", {}, {{"wifi_ssid", "attic"}, {"enable_ssid2", "1"}}},
             Row{"WAN port", {}, {{"wan_phy_ifname", "eth3"}}},
         }) {
        SCOPED_TRACE(row.what);
        const Settings a = with(row.a);
        const Settings b = with(row.b, a);
        const Advice advice = needed_restarts(a, b, {});
        for (const std::vector<Restart>& way : {advice.fewest, advice.gentlest}) {
            if (way.empty()) continue;
            World router = boot(world_in_use(a), a).router;
            const World in_use = world_in_use(b);
            for (const SettingChange& change : changed_settings(a, b))
                change_setting(router, change.key, change.b);
            router.interfaces = in_use.interfaces;
            router.hosts = in_use.hosts;
            router.outputs = in_use.outputs;
            for (const Restart& restart : way) {
                std::vector<std::string> call = {"rc"};
                call.insert(call.end(), restart.words.begin(), restart.words.end());
                router = run_on(router, call).after;
                // The link is up again before the next action.
                router.put("/tmp/wan_uptime", "60.00 60.00\n");
            }
            // The DHCP server starts before the Internet side, and again after it.
            World booted = run_on(boot(in_use, b).router, {"rc", "dhcpd", "restart"}).after;
            for (const char* path :
                 {"/tmp/nvram", "/tmp/htpasswd", "/tmp/syslog.conf", "/etc/udhcpd.conf",
                  "/etc/resolv.conf", "/tmp/rules", "/tmp/rule2", "/tmp/pnat", "/tmp/cron_schedule",
                  "/tmp/qos.conf", "/var/RT2860AP.dat"})
                EXPECT_EQ(file_content(router, path).value_or("none"),
                          file_content(booted, path).value_or("none"))
                    << path;
        }
    }
}

TEST(Cover, TheBestSetOfChoices) {
    struct Row {
        const char* what;
        uint32_t wanted;
        std::vector<Choice> choices;
        std::vector<size_t> fewest;
        std::vector<size_t> gentlest;
    };
    for (const Row& row : {
             Row{"nothing is wanted", 0, {{1, 1, 0}}, {}, {}},
             Row{"one thing, the cheaper choice", 1, {{1, 9, 0}, {1, 2, 0}}, {1}, {1}},
             Row{"as many commands, shorter pauses", 1, {{1, 2, 5}, {1, 2, 3}}, {1}, {1}},
             Row{"a large one in place of two", 3, {{1, 1, 0}, {3, 9, 0}, {2, 1, 0}}, {1}, {0, 2}},
             // The largest choice first would take three.
             Row{"the largest is not always among the fewest",
                 63,
                 {{0b001111, 1, 0}, {0b010101, 1, 0}, {0b101010, 1, 0}, {0b110000, 3, 0}},
                 {1, 2},
                 {1, 2}},
             Row{"what else a choice covers does not count", 2, {{1, 0, 0}, {7, 5, 0}}, {1}, {1}},
             Row{"a thing that no choice covers is left out", 5, {{1, 1, 0}}, {0}, {0}},
         }) {
        EXPECT_EQ(best_cover(row.wanted, row.choices, Prefer::FewestChoices), row.fewest)
            << row.what;
        EXPECT_EQ(best_cover(row.wanted, row.choices, Prefer::FewestCommands), row.gentlest)
            << row.what;
    }
}

// The pauses that nvram apply announces are those of rc.
TEST(Restarts, PauseAsLongAsTheRoutersTableSays) {
    const Settings settings = with({{"wan_mode", "ip"}, {"fix_ipaddr", "203.0.113.7"}});
    const auto pauses = [&](const std::vector<std::string>& words) {
        const World router = router_with(world_in_use(settings), settings, words);
        return make_plan(router, words).after.transcript.totals().microseconds;
    };
    for (const nvram::Application& application : nvram::applications()) {
        const std::string name = application.name;
        EXPECT_EQ(application.pauses,
                  (pauses({"rc", name, "stop"}) + pauses({"rc", name, "start"})) / 1'000'000)
            << name;
    }
}

}  // namespace
