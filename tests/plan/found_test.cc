// A router's own tools as its archive has their output: those of several versions of busybox and of
// the net-tools, and lines that no tool prints.

#include "plan/inspect/found.h"

#include <gtest/gtest.h>

namespace {

Bundle bundle_with(const std::map<std::string, std::string>& members) {
    Bundle bundle;
    bundle.members = {{"about", "format 1\ndate 1700000000\nuptime 86400.12 80000.00\n"},
                      {"settings", "lan_if=br0\n"}};
    for (const auto& [name, content] : members) bundle.members[name] = content;
    return bundle;
}

FoundRouter router_with_member(const std::string& name, const std::string& content) {
    return found_router(bundle_with({{name, content}}));
}

// "PID COMMAND; PID COMMAND"
std::string processes_in(const std::map<std::string, std::string>& members) {
    std::string text;
    for (const FoundProcess& process : found_router(bundle_with(members)).processes)
        text += (text.empty() ? "" : "; ") + std::to_string(process.pid) + " " + process.command;
    return text;
}

std::string processes_of_ps(const std::string& output) {
    return processes_in({{"commands/ps", output}});
}

TEST(FoundRouter, ProcessesOfSeveralVersionsOfPs) {
    const char* const expected =
        "1 init; 187 /usr/sbin/udhcpc -i eth2.2 -s /etc/udhcpc.script; 12345 /usr/sbin/ntp";
    EXPECT_EQ(processes_of_ps("  PID  Uid     VmSize Stat Command\n"
                              "    1 root        356 S   init\n"
                              "    2 root            SWN [ksoftirqd/0]\n"
                              "  187 root        248 S   /usr/sbin/udhcpc -i eth2.2 -s "
                              "/etc/udhcpc.script \n"
                              "12345 root        248 S < /usr/sbin/ntp\n"),
              expected);
    EXPECT_EQ(processes_of_ps("  PID USER       VSZ STAT COMMAND\n"
                              "    1 root      1364 S    init\n"
                              "    2 root         0 SWN  [ksoftirqd/0]\n"
                              "  187 root      1360 S    /usr/sbin/udhcpc -i eth2.2 -s "
                              "/etc/udhcpc.script\n"
                              "12345 root      1360 S    /usr/sbin/ntp\n"),
              expected);
    EXPECT_EQ(processes_of_ps("    PID TTY      STAT   TIME COMMAND\n"
                              "      1 ?        Ss     0:00 init\n"
                              "      2 ?        S      0:00 [kthreadd]\n"
                              "    187 ?        S      0:00 /usr/sbin/udhcpc -i eth2.2 -s "
                              "/etc/udhcpc.script\n"
                              "  12345 pts/0    R+     0:00 /usr/sbin/ntp\n"),
              expected);
    // A wide column moves the command to the right.
    EXPECT_EQ(processes_of_ps("PID USER   VSZ STAT COMMAND\n"
                              "1 root 135600 SWN< init\n"
                              "  187 somebody-long 1360 S /usr/sbin/ntp\n"),
              "1 init; 187 /usr/sbin/ntp");
}

TEST(FoundRouter, LinesThatPsCutAreCompleted) {
    const char* const ps =
        "  PID  Uid     VmSize Stat Command\n"
        "  187 root        248 S   /usr/sbin/udhcpc -i eth2.2 -s /etc/ud\n"
        "  200 root        248 S   {script} /bin/sh /etc/x\n";
    EXPECT_EQ(processes_in({{"commands/ps", ps},
                            {"commands/cmdlines",
                             "187\t5210\t/usr/sbin/udhcpc\x1f-i\x1f"
                             "eth2.2\x1f-s\x1f/etc/udhcpc.script\x1f\n"
                             "201\t5310\t/usr/sbin/ntp\x1f-z\x1f\x1f\n"
                             "2\t3\t\n"}}),
              "187 /usr/sbin/udhcpc -i eth2.2 -s /etc/udhcpc.script; 200 /bin/sh /etc/x; "
              "201 /usr/sbin/ntp -z");
}

// The same number, meanwhile of another process.
TEST(FoundRouter, AnotherCommandDoesNotCompleteALine) {
    EXPECT_EQ(processes_in({{"commands/ps", "PID COMMAND\n187 /usr/sbin/ntp\n"},
                            {"commands/cmdlines", "187\t5210\t/bin/sh\x1f\n"}}),
              "187 /usr/sbin/ntp");
}

TEST(FoundRouter, LinesThatAreNotProcesses) {
    EXPECT_EQ(processes_of_ps(""), "");
    EXPECT_EQ(processes_of_ps("no heading\n1 root init\n"), "");
    EXPECT_EQ(processes_of_ps("PID COMMAND\n\n   \nx y\n-5 a\n0 b\n99999999999999999999 c\n1\n"),
              "");
    EXPECT_EQ(processes_in({{"commands/cmdlines",
                             "\n\t\n\t\t\n1\t2\nx\t1\t/bin/a\n-7\t1\t/bin/b\n0\t1\t/bin/c\n"
                             "99999999999999999999\t1\t/bin/d\n"}}),
              "");
}

TEST(FoundRouter, Interfaces) {
    const FoundRouter router = router_with_member(
        "commands/ifconfig",
        "br0       Link encap:Ethernet  HWaddr 02:00:00:00:0A:01  \n"
        "          inet addr:192.168.1.1  Bcast:192.168.1.255  Mask:255.255.255.0\n"
        "          inet6 addr: fe80::1/64 Scope:Link\n"
        "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1\n"
        "          RX packets:100 errors:0 dropped:0 overruns:0 frame:0\n"
        "\n"
        "eth2.2    Link encap:Ethernet  HWaddr 02:00:00:00:0a:02\n"
        "          BROADCAST MULTICAST  MTU:1400  Metric:1\n"
        "\n"
        "ppp0      Link encap:Point-Point Protocol\n"
        "          inet addr:198.51.100.7  P-t-P:198.51.100.1  Mask:255.255.255.255\n"
        "          UP POINTOPOINT RUNNING NOARP MULTICAST  MTU:1492  Metric:1\n");
    ASSERT_EQ(router.interfaces.size(), 3U);
    const FoundInterface& bridge = router.interfaces.at("br0");
    EXPECT_TRUE(bridge.up);
    EXPECT_EQ(bridge.address, "192.168.1.1");
    EXPECT_EQ(bridge.mask, "255.255.255.0");
    EXPECT_EQ(bridge.mtu, 1500);
    EXPECT_EQ(bridge.mac, (std::array<unsigned char, 6>{2, 0, 0, 0, 10, 1}));
    EXPECT_FALSE(router.interfaces.at("eth2.2").up);
    EXPECT_EQ(router.interfaces.at("eth2.2").address, std::nullopt);
    EXPECT_EQ(router.interfaces.at("eth2.2").mtu, 1400);
    EXPECT_EQ(router.interfaces.at("ppp0").address, "198.51.100.7");
    EXPECT_EQ(router.interfaces.at("ppp0").mtu, 1492);
}

TEST(FoundRouter, Routes) {
    const FoundRouter router = router_with_member(
        "commands/route",
        "Kernel IP routing table\n"
        "Destination     Gateway         Genmask         Flags Metric Ref    Use Iface\n"
        "192.168.1.0     0.0.0.0         255.255.255.0   U     0      0        0 br0\n"
        "10.1.0.0        192.168.1.254   255.255.0.0     UG    2      0        0 br0\n"
        "0.0.0.0         203.0.113.1     0.0.0.0         UG    0      0        0 eth2.2\n"
        "default         203.0.113.1     0.0.0.0         UG    0      0        0 eth2.2\n"
        "10.0.0.0 short\n");
    ASSERT_EQ(router.routes.size(), 3U);
    EXPECT_EQ(router.routes[1].destination, "10.1.0.0");
    EXPECT_EQ(router.routes[1].gateway, "192.168.1.254");
    EXPECT_EQ(router.routes[1].mask, "255.255.0.0");
    EXPECT_EQ(router.routes[1].interface, "br0");
}

TEST(FoundRouter, Bridges) {
    const FoundRouter router =
        router_with_member("commands/brctl",
                           "bridge name\tbridge id\t\tSTP enabled\tinterfaces\n"
                           "br0\t\t8000.020000000a01\tno\t\teth2.1\n"
                           "\t\t\t\t\t\t\tra0\n"
                           "br1\t\t8000.000000000000\tno\t\t\n"
                           "\n");
    ASSERT_EQ(router.bridges.size(), 2U);
    EXPECT_EQ(router.bridges.at("br0"), (std::set<std::string>{"eth2.1", "ra0"}));
    EXPECT_TRUE(router.bridges.at("br1").empty());
}

TEST(FoundRouter, FileSystems) {
    const FoundRouter router =
        router_with_member("commands/df",
                           "Filesystem           1k-blocks      Used Available Use% Mounted on\n"
                           "rootfs                    3072      3072         0 100% /\n"
                           // A long name has a line of its own.
                           "192.168.1.9:/export/a/very/long/name\n"
                           "                       7000000   6650000    350000  95% /mnt/usb\n"
                           "tmpfs                    14800        20     14780   0% /tmp\n"
                           "tmpfs                        0         0         0   -  /dev\n");
    std::string text;
    for (const FoundMount& mount : router.mounts)
        text += mount.place + " " + std::to_string(mount.used) + "; ";
    EXPECT_EQ(text, "/ 100; /mnt/usb 95; /tmp 0; ");
}

TEST(FoundRouter, StandInsHaveTheSecretsShape) {
    const FoundRouter router = found_router(
        bundle_with({{"settings", "a=********\nb=********\nc=********\nd=********\nlan_if=br0\n"},
                     {"shapes",
                      "a=5 digits\nb=26 hexadecimal\nc=8 text\nd=-3 text\nlan_if\nnosuch=4 digits\n"
                      "lan_if=2\nlan_if=3 4 5\nb\n=\n"}}));
    EXPECT_EQ(router.settings.at("a"), "31415");
    EXPECT_EQ(router.settings.at("b").size(), 26U);
    EXPECT_EQ(router.settings.at("b").find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(router.settings.at("b").find_first_not_of("0123456789"), std::string::npos);
    EXPECT_EQ(router.settings.at("c"), "secret-o");
    EXPECT_EQ(router.settings.at("d"), "");
    EXPECT_EQ(router.settings.at("lan_if"), "br0");
    EXPECT_FALSE(router.settings.contains("nosuch"));
    EXPECT_EQ(router.hide("WEP 31415 secret-o"), "WEP ******** ********");
    EXPECT_LE(
        router_with_member("shapes", "lan_if=999999999999 text\n").settings.at("lan_if").size(),
        4096U);
}

TEST(FoundRouter, TimesAndUncommittedSettings) {
    const FoundRouter router = found_router(
        bundle_with({{"settings", "a=1\nb=2\n"}, {"uncommitted", "- a=0\n+ a=1\n+ b=2\n- c=3\n"}}));
    EXPECT_EQ(router.clock, 1700000000);
    EXPECT_EQ(router.uptime, 86400);
    EXPECT_EQ(router.flash_settings(), (Settings{{"a", "0"}, {"c", "3"}}));
    EXPECT_EQ(router_with_member("about", "date\nuptime x\n").clock, 0);
    const FoundRouter late =
        router_with_member("about", "date 9223372036854775807\nuptime 9223372036854775807\n");
    EXPECT_EQ(late.clock, 0);
    EXPECT_EQ(late.world().uptime_microseconds, 0);
}

// No output takes the reader out of step, whatever it is.
TEST(FoundRouter, Garbage) {
    std::string garbage;
    for (int i = 0; i < 4096; i++) garbage += static_cast<char>(i * 7 % 256);
    for (const std::string& text :
         {garbage, std::string(100'000, 'x'), std::string(10'000, '\n'), std::string(10'000, ' '),
          std::string(10'000, '\0'), std::string("PID COMMAND\n") + garbage}) {
        std::map<std::string, std::string> members;
        for (const char* const name :
             {"about", "settings", "shapes", "uncommitted", "commands/ps", "commands/cmdlines",
              "commands/ifconfig", "commands/route", "commands/brctl", "commands/df", "files/x"})
            members[name] = text;
        const FoundRouter router = found_router(bundle_with(members));
        EXPECT_EQ(router.files.at("/x"), text);
        EXPECT_TRUE(router.routes.empty());
        EXPECT_TRUE(router.mounts.empty());
    }
}

}  // namespace
