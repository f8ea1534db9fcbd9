// A router that is as rc makes it has no deviation; one that differs in one thing has that one.

#include "plan/inspect/inspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "core/text.h"
#include "made_bundle.h"

namespace {

using testing::HasSubstr;

Settings settings_from(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(std::string(SOURCE_DIR) + "/" + path).rdbuf();
    return read_settings(text.str());
}

Settings factory_with(const Settings& changes = {}) {
    Settings settings = settings_from("lab/root/etc/default");
    for (const auto& [key, value] : changes) settings[key] = value;
    return settings;
}

std::vector<Deviation> all_of(const Bundle& bundle) {
    const FoundRouter found = found_router(bundle);
    return deviations(bundle, found, ExpectedRouter(found));
}

// "process udhcpd: expected X, found Y", one on a line; notes begin with "note: ".
std::string shown(const std::vector<Deviation>& list) {
    std::string text;
    for (const Deviation& deviation : list)
        text += std::string(deviation.note ? "note: " : "") + kind_name(deviation.kind) + " " +
                deviation.what + ": expected " + deviation.expected + ", found " + deviation.found +
                "\n";
    return text;
}

// "process udhcpd", "note: trap the clock", joined by semicolons.
std::string headlines(const Bundle& bundle) {
    std::string text;
    for (const Deviation& deviation : all_of(bundle))
        text += std::string(text.empty() ? "" : "; ") + (deviation.note ? "note: " : "") +
                kind_name(deviation.kind) + " " + deviation.what;
    return text;
}

// Without notes and what nvram check says of the settings.
std::string faults(const Bundle& bundle) {
    std::vector<Deviation> list = all_of(bundle);
    std::erase_if(list, [](const Deviation& deviation) {
        return deviation.note || deviation.fix == "see nvram check";
    });
    return shown(list);
}

TEST(Inspect, ARouterWithFactorySettings) {
    EXPECT_EQ(shown(all_of(made_bundle(factory_with()))), "");
}

TEST(Inspect, ARouterWithEveryListFull) {
    EXPECT_EQ(faults(made_bundle(settings_from("bench/full_house.txt"))), "");
}

TEST(Inspect, ARouterInEachModeOfItsInternetSide) {
    const Settings accounts = {{"pppoe_username", "alice"},    {"pppoe_password", "sesame77"},
                               {"pptp_username", "alice"},     {"pptp_password", "sesame77"},
                               {"pptp_server", "203.0.113.1"}, {"l2tp_username", "alice"},
                               {"l2tp_password", "sesame77"},  {"l2tp_server", "203.0.113.1"},
                               {"bpa_username", "alice"},      {"bpa_password", "sesame77"},
                               {"fix_ipaddr", "203.0.113.20"}, {"fix_netmask", "255.255.255.0"},
                               {"fix_gateway", "203.0.113.1"}, {"wan_dns1", "203.0.113.1"}};
    for (const char* const mode : {"dhcpc", "pppoe", "pptp", "bpa", "ras", "l2tp", "ip"}) {
        Settings settings = factory_with(accounts);
        settings["wan_mode"] = mode;
        EXPECT_EQ(faults(made_bundle(settings)), "") << mode;
    }
}

// Its boot script starts fewer applications than a router's: those that have left a trace.
TEST(Inspect, AnAccessPoint) {
    Bundle bundle = made_bundle(factory_with({{"ap_mode", "1"}, {"lan_ipaddr", "192.168.1.2"}}));
    EXPECT_EQ(headlines(bundle), "");
    bundle.members["commands/ps"] += "  901 root        248 S   /usr/sbin/mini_httpd -d /usr/www\n";
    EXPECT_EQ(headlines(bundle), "process mini_httpd; file /tmp/htpasswd");
}

void replace_in(std::string& text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from << " is not in:\n" << text;
    text.replace(at, from.size(), to);
}

Bundle dialled(const std::string& mode) {
    return made_bundle(factory_with({{"wan_mode", mode},
                                     {mode + "_username", "alice"},
                                     {mode + "_password", "sesame77"},
                                     {mode + "_server", "203.0.113.1"}}));
}

TEST(InspectPpp, PppdOverwritesItsPassword) {
    Bundle bundle = dialled("pppoe");
    EXPECT_EQ(headlines(bundle), "");
    replace_in(bundle.members.at("commands/ps"), "sesame77", "????????");
    EXPECT_EQ(headlines(bundle), "");
    replace_in(bundle.members.at("commands/ps"), "????????", "opensesame");
    EXPECT_EQ(headlines(bundle), "process pppd");
}

TEST(InspectPpp, L2tpdStartsPppd) {
    Bundle bundle = dialled("l2tp");
    EXPECT_EQ(headlines(bundle), "");
    const std::string pppd = "  901 root        248 S   /usr/sbin/pppd passive -detach\n";
    bundle.members.at("commands/ps") += pppd;
    EXPECT_EQ(headlines(bundle), "");
    // Nobody starts it with a leased address.
    bundle = made_bundle(factory_with());
    bundle.members.at("commands/ps") += pppd;
    EXPECT_EQ(headlines(bundle), "process pppd");
}

TEST(InspectPpp, FilesFromBeforeTheLink) {
    Bundle bundle = dialled("pppoe");
    std::string& config = bundle.members.at("files/etc/udhcpd.conf");
    const std::string server = "option\tdns\t203.0.113.1\n\n";
    replace_in(config, server, "option\tdns\t192.168.1.1\n");
    EXPECT_EQ(headlines(bundle), "");
    replace_in(config, "192.168.1.1\n", "192.168.1.9\n");
    EXPECT_EQ(headlines(bundle), "file /etc/udhcpd.conf");
}

// The archive of a router with one thing changed.
class OneFault : public testing::Test {
  protected:
    Bundle bundle_ =
        made_bundle(factory_with({{"fw_in_rules", "web:1:x:8000:80:tcp:9"},
                                  {"pcdb_list", "pc;192.168.1.40;02:00:00:00:00:31"}}));

    std::string& member(const std::string& name) { return bundle_.members.at(name); }
    void replace(const std::string& name, const std::string& from, const std::string& to) {
        std::string& text = member(name);
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from << " is not in " << name << ":\n" << text;
        text.replace(at, from.size(), to);
    }
    std::string headlines() const { return ::headlines(bundle_); }

    // The archive's other list of the processes that ps shows, all started at the same time.
    std::string command_lines() {
        bundle_.members.erase("commands/cmdlines");
        std::string lines;
        for (const FoundProcess& process : found_router(bundle_).processes)
            lines += std::to_string(process.pid) + " 1\t8630000\t" + process.command + "\x1f\n";
        return lines;
    }
    std::string pid_of(std::string_view program) {
        for (const FoundProcess& process : found_router(bundle_).processes)
            if (process.command.starts_with(program)) return std::to_string(process.pid);
        return "";
    }
};

TEST_F(OneFault, None) {
    EXPECT_EQ(headlines(), "");
}

TEST_F(OneFault, TheClock) {
    replace("about", "date 1800000000", "date 946684800");
    EXPECT_EQ(headlines(), "trap the clock");
}

TEST_F(OneFault, AClosedScheduleIsANote) {
    // Friday is day 5; the week's minutes in which the firewall's rules are in force are on Sunday.
    bundle_ = made_bundle(factory_with({{"fw_schedule", "0:0:0-1:0"}}));
    bundle_.members["files/tmp/cron_schedule"] = "0";
    EXPECT_EQ(headlines(), "note: trap the firewall's schedule");
}

TEST_F(OneFault, AMarkerOfARunThatHasEnded) {
    bundle_.members["files/var/run/rc.dhcpd.run"] = "";
    EXPECT_EQ(headlines(), "trap /var/run/rc.dhcpd.run");
    member("commands/ps") += "  999 root        248 S   /usr/sbin/rc dhcpd restart\n";
    EXPECT_EQ(headlines(), "");
}

TEST_F(OneFault, APidFile) {
    bundle_.members["files/var/run/my_pid_wan"] = "998";
    EXPECT_EQ(headlines(), "trap /var/run/my_pid_wan");
    member("commands/ps") += "  998 root        248 S   /usr/sbin/rc wan restart\n";
    EXPECT_EQ(headlines(), "");
    // The id of another program.
    replace("commands/ps", "/usr/sbin/rc wan restart", "/bin/other");
    EXPECT_EQ(headlines(), "trap /var/run/my_pid_wan");
}

TEST_F(OneFault, AFullFileSystem) {
    bundle_.members["commands/df"] = "rootfs 3072 3072 0 100% /\ntmpfs 100 94 6 94% /tmp\n";
    EXPECT_EQ(headlines(), "");
    replace("commands/df", "94%", "95%");
    EXPECT_EQ(headlines(), "trap file system /tmp");
}

TEST_F(OneFault, TheLeaseFile) {
    member("files/var/udhcpd.leases") += "x";
    EXPECT_EQ(headlines(), "file /var/udhcpd.leases");
    member("files/var/udhcpd.leases") = "";
    EXPECT_EQ(headlines(), "file /var/udhcpd.leases");
    bundle_.members.erase("files/var/udhcpd.leases");
    EXPECT_EQ(headlines(), "");
}

TEST_F(OneFault, ADaemon) {
    replace("commands/ps", "/usr/sbin/udhcpd", "/usr/sbin/other");
    EXPECT_EQ(headlines(), "process udhcpd");
    // Without processes there is nothing to compare.
    bundle_.members.erase("commands/ps");
    EXPECT_EQ(headlines(), "");
}

TEST_F(OneFault, ADaemonTwice) {
    member("commands/ps") += "  999 root        248 S   /usr/sbin/udhcpd /etc/udhcpd.conf\n";
    EXPECT_EQ(headlines(), "process udhcpd");
}

// The same, as an archive tells whose fork each process is.
TEST_F(OneFault, AForkOfADaemonIsNoSecondOne) {
    const std::string lines = command_lines();
    const std::string server = "\t8630000\t/usr/sbin/udhcpd\x1f/etc/udhcpd.conf\x1f\n";
    const std::string parent = pid_of("/usr/sbin/udhcpd");
    std::string& list = bundle_.members["commands/cmdlines"];
    list = lines;
    EXPECT_EQ(headlines(), "");
    list = lines + "999 " + parent + server;
    EXPECT_EQ(headlines(), "");
    list = lines + "999 1" + server;
    EXPECT_EQ(headlines(), "process udhcpd");
    // Without the parents, as archives were before.
    list = lines + "999" + server;
    EXPECT_EQ(headlines(), "process udhcpd");
    // Only in the first of the two lists: it has ended.
    list = lines;
    member("commands/ps") += "  999 root        248 S   /usr/sbin/udhcpd /etc/udhcpd.conf\n";
    EXPECT_EQ(headlines(), "");
}

// The server runs since 100 s before the archive was made; the file and the settings are of times
// counted from there.
class Age : public OneFault {
  protected:
    void set(long long written, long long changed) {
        constexpr long long started = 1'800'000'000 - 100;
        bundle_.members["commands/cmdlines"] = command_lines();
        bundle_.times["files/etc/udhcpd.conf"] = started + written;
        bundle_.members["about"] = "format 1\ndate 1800000000\nuptime 86400.00 80000.00\nchanged " +
                                   std::to_string(started + changed) + "\n";
    }
};

TEST_F(Age, OfADaemonThatHasReadItsFile) {
    set(0, -1000);
    EXPECT_EQ(headlines(), "");
    // Written again, with the settings as they were at the start.
    set(60, 0);
    EXPECT_EQ(headlines(), "");
    // Just started, or before the date was set back.
    set(2, 1);
    EXPECT_EQ(headlines(), "");
    set(101, 50);
    EXPECT_EQ(headlines(), "");
}

TEST_F(Age, OfADaemonWithFormerSettings) {
    set(60, 50);
    EXPECT_EQ(
        shown(all_of(bundle_)),
        "process udhcpd: expected started after /etc/udhcpd.conf was written, found started 60 s "
        "before that, and it reads the file only at its start\n");
    EXPECT_EQ(all_of(bundle_).at(0).fix, "rc dhcpd restart");
    // What is wrong with the file explains more.
    member("files/etc/udhcpd.conf") += "option wins 192.168.1.9\n";
    EXPECT_EQ(headlines(), "file /etc/udhcpd.conf");
}

TEST_F(OneFault, WhatTheKernelLogTells) {
    bundle_.members["commands/dmesg"] =
        "Out of Memory: Killed process 321 (upnpd).\n"
        "[ 12.3] Out of memory: Kill process 322 (udhcpd) score 9 or sacrifice child\n"
        "Out of memory: Kill process 323 (<b>x</b>)\nOut of memory: Kill process\n"
        "ip_conntrack: table full, dropping packet.\n";
    EXPECT_EQ(headlines(),
              "note: trap memory for udhcpd; note: trap memory for upnpd; "
              "note: trap the kernel's table of connections");
}

TEST_F(OneFault, ARule) {
    replace("commands/iptables-save", "8000", "8001");
    const std::vector<Deviation> list = all_of(bundle_);
    ASSERT_FALSE(list.empty());
    for (const Deviation& deviation : list) EXPECT_EQ(deviation.kind, Deviation::Kind::Rule);
    EXPECT_THAT(list[0].settings, testing::Contains("fw_in_rules entry 1"));
    EXPECT_EQ(list[0].fix, "rc firewall restart");
}

TEST_F(OneFault, ARuleThatRcDoesNotMake) {
    replace("commands/iptables-save", "[1:60] -A INPUT",
            "[1:60] -A INPUT -p tcp --dport 23 -j ACCEPT\n[1:60] -A INPUT");
    EXPECT_EQ(headlines(), "rule chain INPUT of table filter");
    replace("commands/iptables-save", "-p tcp --dport 23 -j ACCEPT", "-j NFLOG --nflog-group 2");
    EXPECT_EQ(headlines(), "rule a rule that rc does not make");
}

TEST_F(OneFault, APolicy) {
    replace("commands/iptables-save", ":FORWARD DROP", ":FORWARD ACCEPT");
    EXPECT_EQ(headlines(), "rule chain FORWARD of table filter");
}

// Where the router has no iptables-save; each line as iptables 1.3 prints it.
TEST_F(OneFault, ListingsInsteadOfSavedRules) {
    bundle_.members.erase("commands/iptables-save");
    EXPECT_EQ(headlines(), "");
    const std::string columns = "pkts bytes target prot opt in out source destination\n";
    bundle_.members["commands/iptables.filter"] =
        "Chain INPUT (policy DROP 0 packets, 0 bytes)\n" + columns +
        "0 0 ACCEPT tcp -- * * 0.0.0.0/0 0.0.0.0/0 tcp dpt:23 \n";
    EXPECT_THAT(shown(all_of(bundle_)), HasSubstr("rule chain INPUT of table filter: expected , "
                                                  "found -p tcp --dport 23 -j ACCEPT\n"));
}

TEST_F(OneFault, AForwardThatNothingHasUsedIsANote) {
    std::string& saved = member("commands/iptables-save");
    for (size_t at = 0; (at = saved.find("[1:60] -A PF", at)) != std::string::npos;)
        saved.replace(at, 6, "[0:0]");
    EXPECT_EQ(headlines(), "note: rule chain PF of table nat");
}

TEST_F(OneFault, AFile) {
    member("files/etc/udhcpd.conf") += "option wins 192.168.1.9\n";
    EXPECT_EQ(shown(all_of(bundle_)),
              "file /etc/udhcpd.conf: expected , found option wins 192.168.1.9\n");
    bundle_.members.erase("files/etc/udhcpd.conf");
    EXPECT_THAT(shown(all_of(bundle_)), HasSubstr("found no such file\n"));
    EXPECT_EQ(headlines(), "file /etc/udhcpd.conf");
}

TEST_F(OneFault, InterfacesAndRoutes) {
    const std::string ifconfig = member("commands/ifconfig");
    replace("commands/ifconfig", "inet addr:192.168.1.1 ", "inet addr:192.168.1.2 ");
    EXPECT_THAT(headlines(), HasSubstr("interface br0"));
    member("commands/ifconfig") = ifconfig;
    replace("commands/brctl", "\tra0\n", "\tra9\n");
    EXPECT_EQ(headlines(), "interface ra0");
}

TEST_F(OneFault, TheLink) {
    bundle_.members.erase("files/tmp/wan_uptime");
    EXPECT_EQ(headlines(), "wan wan (dhcpc)");
    bundle_.members["files/tmp/wan_uptime"] = "1.00 1.00\n";
    // The rules and the DHCP server's file have the name servers, too.
    replace("files/etc/resolv.conf", "nameserver", "#");
    EXPECT_THAT(headlines(), testing::StartsWith("wan wan (dhcpc); "));
}

TEST_F(OneFault, ASettingThatIsNotCommitted) {
    bundle_.members["uncommitted"] = "- lan_lease_time=1\n+ lan_lease_time=5\n";
    EXPECT_EQ(headlines(), "setting lan_lease_time");
    EXPECT_THAT(shown(all_of(bundle_)), HasSubstr("expected lan_lease_time=1 in flash, found "
                                                  "lan_lease_time=5, not committed"));
}

// As nvram mask hides a secret in a router's files.
Bundle with_secret(const Settings& settings, const std::string& key, const std::string& shape) {
    Bundle bundle = made_bundle(settings);
    const std::string secret = settings.at(key);
    for (auto& [name, content] : bundle.members)
        for (size_t at = 0; (at = content.find(secret, at)) != std::string::npos; at += 8)
            content.replace(at, secret.size(), hidden_text);
    bundle.members["shapes"] = key + "=" + std::to_string(secret.size()) + " " + shape + "\n";
    return bundle;
}

TEST(InspectSecrets, AsterisksInFilesAndCommandsFit) {
    const Bundle bundle =
        with_secret(factory_with({{"http_password", "Open-Sesame-7"}}), "http_password", "text");
    EXPECT_THAT(bundle.members.at("files/tmp/htpasswd"), HasSubstr("********"));
    EXPECT_EQ(shown(all_of(bundle)), "");
}

TEST(InspectSecrets, AWirelessKeyOfEachForm) {
    struct Row {
        const char* secret;
        const char* shape;
    };
    const Row rows[] = {{"a1b2c3d4e5", "hexadecimal"},
                        {"1234567890", "digits"},
                        {"a1b2c3d4e5a1b2c3d4e5a1b2c3", "hexadecimal"},
                        {"!key5", "text"},
                        {"thirteen-char", "text"}};
    for (const Row& row : rows) {
        const std::string length = std::to_string(std::string_view(row.secret).size());
        const Bundle bundle = with_secret(factory_with({{"wifi_wep_on", "1"},
                                                        {"wifi_auth_type", "OPEN"},
                                                        {"wifi_key_len", length},
                                                        {"wifi_def_key", "1"},
                                                        {"wifi_key1", row.secret}}),
                                          "wifi_key1", row.shape);
        EXPECT_THAT(bundle.members.at("files/var/RT2860AP.dat"), HasSubstr("Key1Str=********"));
        EXPECT_EQ(faults(bundle), "") << row.secret;
    }
}

TEST(InspectSecrets, AStandInIsNotShown) {
    Bundle bundle =
        with_secret(factory_with({{"http_password", "Open-Sesame-7"}}), "http_password", "text");
    bundle.members["files/tmp/htpasswd"] = "";
    const std::string text = shown(all_of(bundle));
    EXPECT_THAT(text, HasSubstr("file /tmp/htpasswd: expected admin:********"));
    EXPECT_FALSE(contains(text, "secret-of"));
}

// Whatever an archive contains, the comparison ends.
TEST(Inspect, AnArchiveWithoutMembers) {
    Bundle bundle;
    bundle.members = {{"about", ""}, {"settings", ""}};
    EXPECT_THAT(headlines(bundle), HasSubstr("trap the clock"));
}

}  // namespace
