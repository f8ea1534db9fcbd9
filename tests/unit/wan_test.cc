// Operations of the Internet side: functions that nothing calls, escaping, and pppd's arguments.

#include <stdlib.h>

#include <fstream>
#include <iterator>

#include "core/command.h"
#include "recorded.h"
#include "wan/ppp.h"
#include "wan/ppp_secrets.h"
#include "wan/unused.h"
#include "wan/wan.h"

namespace {

using WanTest = RecordedTest;

TEST_F(WanTest, WaitingReturnsWhetherTheWanIsUp) {
    EXPECT_EQ(wan_wait_up(0), -1);
    EXPECT_EQ(transcript(), "");
    EXPECT_EQ(wan_wait_up(3), -1);
    played_.world.put("/tmp/wan_uptime", "1.00 1.00\n");
    EXPECT_EQ(wan_wait_up(0), 0);
    EXPECT_EQ(wan_wait_up(2), 0);
    EXPECT_EQ(transcript(),
              "pause  3 s\n"
              "pause  2 s\n");
}

// The pause of ten microseconds before the mode is read.
TEST_F(WanTest, AModeOfOneCharacterIsNotWaitedFor) {
    set({{"wan_mode", "x"}});
    EXPECT_EQ(start_wan(1), 0);
    EXPECT_EQ(played_.yields, 0);
    set({{"wan_mode", "no"}});
    EXPECT_EQ(start_wan(1), 0);
    EXPECT_EQ(played_.yields, 1);
}

TEST_F(WanTest, AHardwareAddressIsWrittenInUpperCase) {
    played_.world.interfaces["eth2.2"].mac = {0x00, 0x1a, 0x2b, 0xc3, 0xd4, 0xff};
    char text[18] = "unchanged";
    EXPECT_EQ(get_ifmac(text, "eth2.2"), 1);
    EXPECT_STREQ(text, "00:1A:2B:C3:D4:FF");
}

TEST_F(WanTest, WithoutTheInterfaceTheTextIsUntouched) {
    char text[18] = "unchanged";
    EXPECT_EQ(get_ifmac(text, "eth2.2"), 1);
    EXPECT_STREQ(text, "unchanged");
    EXPECT_EQ(transcript(), "");
}

TEST_F(WanTest, WithoutASocketThereIsAMessage) {
    played_.world.denied.insert({"eth2.2", "socket"});
    char text[18] = "unchanged";
    EXPECT_EQ(get_ifmac(text, "eth2.2"), -1);
    EXPECT_STREQ(text, "unchanged");
    EXPECT_EQ(transcript(), "error  user: socket creating failed: Operation not permitted\n");
}

TEST_F(WanTest, HostsAreLookedUpAsText) {
    played_.world.hosts = {{"vpn.test", "10.0.0.9"},
                           {"six.test", "2001:db8::1"},
                           {"long.test", "2001:db8:1111:2222:3333:4444:5555:6666"}};
    std::string address = "old";
    EXPECT_TRUE(hostnametoip(address, "vpn.test"));
    EXPECT_EQ(address, "10.0.0.9");
    EXPECT_TRUE(hostnametoip(address, "six.test"));
    EXPECT_EQ(address, "2001:db8::1");
    EXPECT_FALSE(hostnametoip(address, "long.test")) << "more than 31 characters";
    EXPECT_FALSE(hostnametoip(address, "none.test"));
    EXPECT_FALSE(hostnametoip(address, ""));
    EXPECT_EQ(address, "2001:db8::1");
}

TEST_F(WanTest, AGatewayIsADefaultRouteWithAGateway) {
    struct Row {
        const char* table;
        int result;
    };
    for (const Row& row : {
             Row{"", -1},
             Row{"0.0.0.0         10.0.0.1        0.0.0.0         UG    0      0        0 eth2.2\n",
                 0},
             Row{"10.0.0.0        0.0.0.0         255.255.255.0   U     0      0        0 eth2.2\n",
                 -1},
             Row{"10.9.0.0        10.0.0.1        255.255.0.0     UG    0      0        0 eth2.2\n",
                 -1},
             Row{"header\nlo\n0.0.0.0 10.0.0.1 0.0.0.0 UG", 0},
             // A line longer than 127 characters is read in pieces, each as a line.
             Row{"0.0.0.0                                                                       "
                 "                                                       UG\n",
                 -1},
         }) {
        played_.world.outputs["/sbin/route -n"] = row.table;
        EXPECT_EQ(have_gw(), row.result) << row.table;
        EXPECT_FALSE(played_.world.get("/tmp/gw_route"));
    }
    played_.world.denied.insert({"/tmp/gw_route", "r"});
    played_.transcript = Transcript();
    EXPECT_EQ(have_gw(), -1);
    EXPECT_EQ(transcript(),
              "run    /sbin/route -n > /tmp/gw_route&\n"
              "remove /tmp/gw_route\n");
}

TEST_F(WanTest, FiveCharactersGetABackslashAndPercentIsDoubled) {
    struct Row {
        const char* text;
        const char* escaped;
    };
    for (const Row& row : {
             Row{"", ""},
             Row{"plain", "plain"},
             Row{"\\", "\\\\"},
             Row{"\"", "\\\""},
             Row{"$", "\\$"},
             Row{"'", "\\'"},
             Row{"`", "\\`"},
             Row{"%", "%%"},
             Row{"a\"b$c'd\\e%f", "a\\\"b\\$c\\'d\\\\e%%f"},
             Row{"& ;|", "& ;|"},
         }) {
        char out[64];
        char* end = add_prefix_slash(row.text, out);
        EXPECT_STREQ(out, row.escaped);
        EXPECT_EQ(end, out + strlen(row.escaped));
        set({{"key", row.text}});
        EXPECT_EQ(specialchar(nvram_text("key")), row.escaped);
    }
    const std::string all(4096, '$');
    set({{"key", all}});
    EXPECT_EQ(specialchar(nvram_text("key")).size(), 8192u);
}

TEST_F(WanTest, OtherLinkTypesOnlyRedirectNameLookUps) {
    set({{"lan_ipaddr", "192.168.1.1"}});
    for (const int type : {1, 4, -1}) set_pppd_cmd(type, 0);
    const std::string rule =
        "run    iptables -I PREROUTING -t nat -i br0 -p udp --dport 53 -d 192.168.1.1 -j DNAT --to "
        "10.112.112.112\n";
    EXPECT_EQ(transcript(), rule + rule + rule);
}

TEST_F(WanTest, IdleTimesAreComputedWide) {
    EXPECT_EQ(idle_option(5), "idle 300 demand");
    EXPECT_EQ(idle_option(2147483647), "idle 128849018820 demand");
    EXPECT_EQ(idle_option(-1), "idle -60 demand");
}

TEST_F(WanTest, TheMtuOfALinkIsNotEthernets) {
    struct Row {
        Settings settings;
        const char* mtu;
    };
    for (const Row& row : {
             Row{{}, "1492"},
             Row{{{"wan_mtu", "1500"}}, "1492"},
             Row{{{"wan_mtu", "1400"}}, "1400"},
             Row{{{"wan_mtu", ""}}, ""},
             Row{{{"wan_mtu", "15000"}}, "15000"},
         }) {
        set(row.settings);
        EXPECT_EQ(link_mtu(1492), row.mtu);
    }
}

// Runs rc's line with a real shell; pppd is a script that writes its arguments, one per line.
std::string arguments_of_pppd(const std::string& shell, std::string line) {
    char folder[] = "/tmp/wan_test.XXXXXX";
    if (!mkdtemp(folder)) abort();
    const std::string place = folder;
    std::ofstream(place + "/pppd")
        << "#!/bin/sh\nfor word; do printf '[%s]\\n' \"$word\"; done > " << place << "/arguments\n";
    const std::string program = "/usr/sbin/pppd";
    line.replace(line.find(program), program.size(), "/bin/sh " + place + "/pppd");
    std::ofstream(place + "/line") << line.substr(0, line.find(" >/var/ppp_dbg")) << "\nwait\n";
    if (system((shell + " " + place + "/line").c_str()) != 0) return "the shell failed";

    std::ifstream file(place + "/arguments");
    std::string written(std::istreambuf_iterator<char>(file), {});
    if (system(("rm -rf " + place).c_str()) != 0) abort();
    return written;
}

constexpr const char* awkward = "a\"b$c'd\\e%f";

TEST_F(WanTest, APptpPasswordArrivesAsTyped) {
    set({{"pptp_username", "user"}, {"pptp_password", awkward}, {"pptp_server", "10.0.0.9"}});
    set_pppd_cmd(ppp_over_pptp, 1);
    const std::string line = played_.transcript.events().back().text;
    const std::string arguments = arguments_of_pppd("/bin/sh", line);
    EXPECT_NE(arguments.find(std::string("[password]\n[") + awkward + "]\n"), std::string::npos)
        << arguments;
    EXPECT_NE(arguments.find("[pptp 10.0.0.9  --nolaunchpppd]\n[user]\n[user]\n"),
              std::string::npos)
        << arguments;
}

// Between double quotes a shell keeps the backslash before a single quote.
TEST_F(WanTest, APppoePasswordArrivesWithABackslashBeforeASingleQuote) {
    set({{"pppoe_username", "user%"}, {"pppoe_password", awkward}});
    set_pppd_cmd(ppp_over_ethernet, 1);
    const std::string line = played_.transcript.events().back().text;
    const std::string arguments = arguments_of_pppd("/bin/sh", line);
    EXPECT_NE(arguments.find("[user]\n[user%]\n[password]\n[a\"b$c\\'d\\e%f]\n[mtu]\n[1492]\n"),
              std::string::npos)
        << arguments;
}

}  // namespace
