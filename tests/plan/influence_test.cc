// The influences on the lines of a plan.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/text.h"
#include "plan/trace/influence.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InfluenceTest : public testing::Test {
  protected:
    Plan plan_;
    Provenance provenance_;

    void play_with(const World& world, const Settings& settings,
                   const std::vector<std::string>& words) {
        plan_ = make_plan(router_with(world, settings, words), words);
        provenance_ = trace(plan_);
    }

    // The influences on the line with this text.
    std::vector<std::string> why(const std::string& text) const {
        for (const TranscriptLine& line : lines_of(plan_.after.transcript)) {
            if (line.text != text) continue;
            std::vector<std::string> texts;
            for (const Influence& influence : provenance_.of(line.origin))
                texts.push_back(influence.text());
            return texts;
        }
        return {"no such line: " + text};
    }

    // What a setting has to do with the first line that contains this text.
    std::vector<std::string> why_of(const std::string& part, const std::string& key) const {
        for (const TranscriptLine& line : lines_of(plan_.after.transcript)) {
            if (line.text.find(part) == std::string::npos) continue;
            std::vector<std::string> texts;
            for (const Influence& influence : provenance_.of(line.origin))
                if (influence.input.name == key) texts.push_back(influence.text());
            return texts;
        }
        return {"no line contains " + part};
    }
};

TEST_F(InfluenceTest, ValuesAndComputedValuesOfACommandLine) {
    play_with({}, {{"device_name", "Attic"}, {"http_timeout", "5"}, {"http_password", "x"}},
              {"rc", "httpd", "start"});
    EXPECT_THAT(why("/usr/sbin/mini_httpd -d /usr/www -r \"Attic\" -c '*.cgi' -t 300&"),
                ElementsAre("device_name=Attic", "http_realm is not set", "http_timeout=5",
                            "there is no file /etc/version-ft"));
}

TEST_F(InfluenceTest, EachLineOfAFileHasItsOwnInfluences) {
    play_with({}, {{"dhcp_server_enable", "1"}, {"dhcp_start_ip", "10.0.0.5"}, {"lan_if", "br0"}},
              {"rc", "dhcpd", "start"});
    EXPECT_THAT(why("start\t\t10.0.0.5"),
                ElementsAre("if dhcp_server_enable=1", "dhcp_start_ip=10.0.0.5"));
    EXPECT_THAT(why("interface\tbr0"), ElementsAre("if dhcp_server_enable=1", "lan_if=br0"));
}

TEST_F(InfluenceTest, ASettingThatDecides) {
    play_with({}, {{"dhcp_server_enable", "1"}}, {"rc", "dhcpd", "start"});
    EXPECT_THAT(why("/usr/sbin/udhcpd /etc/udhcpd.conf&"), ElementsAre("if dhcp_server_enable=1"));
}

TEST_F(InfluenceTest, AConstantLineHasNoInfluences) {
    play_with({}, {{"http_timeout", "5"}}, {"rc", "httpd", "stop"});
    EXPECT_THAT(why("/usr/bin/killall mini_httpd"), IsEmpty());
}

TEST_F(InfluenceTest, FactsOfTheRouter) {
    World world;
    world.interfaces["eth2.2"].address = "203.0.113.7";
    world.interfaces["eth2.2"].mtu = 1400;
    play_with(world,
              {{"wan_ifname", "eth2.2"},
               {"wan_mtu", "1500"},
               {"fw_nat", "1"},
               {"fw_dmz_enable", "1"},
               {"fw_dmz", "192.168.1.9"}},
              {"rc", "firewall", "create"});
    EXPECT_THAT(why("iptables -t nat -I DMZ -d 203.0.113.7 -p ! icmp -j DNAT --to 192.168.1.9"),
                ElementsAre("fw_dmz=192.168.1.9", "if fw_dmz_enable=1", "if fw_nat=1",
                            "wan_ifname=eth2.2", "eth2.2 has the address 203.0.113.7"));
    EXPECT_THAT(why("iptables -I FORWARD -p tcp --tcp-flags SYN,ACK,RST SYN -m tcpmss --mss 1361:"
                    " -j TCPMSS --set-mss 1360"),
                ElementsAre("wan_ifname=eth2.2", "wan_mtu=1500", "eth2.2 has the MTU 1400"));
}

TEST_F(InfluenceTest, OneFieldOfARecordIsEnough) {
    play_with({},
              {{"rt_static_route", "office:10.1.0.0:255.255.0.0:192.168.1.2:2:1:1"},
               {"rt_rip_direction", "0"}},
              {"rc", "route", "start"});
    EXPECT_THAT(
        why("/sbin/route add -net 10.1.0.0 netmask 255.255.0.0 gw 192.168.1.2 metric 2"),
        ElementsAre("rt_static_route entry 1=office:10.1.0.0:255.255.0.0:192.168.1.2:2:1:1"))
        << plan_.after.transcript.text();
}

TEST_F(InfluenceTest, EachEntryOfAListHasItsOwnLines) {
    play_with({},
              {{"fw_in_rules", "web:1:x:8080:80:tcp:40\x01mail:1:x:25:25:udp:41"},
               {"lan_ipaddr", "192.168.1.1"},
               {"fw_nat", "1"}},
              {"rc", "firewall", "create"});
    EXPECT_THAT(why_of("--dport 8080", "fw_in_rules"),
                ElementsAre("fw_in_rules entry 1=web:1:x:8080:80:tcp:40"));
    EXPECT_THAT(why_of("--dport 25", "fw_in_rules"),
                ElementsAre("fw_in_rules entry 2=mail:1:x:25:25:udp:41"));
}

// A list with so many parts that its entries are changed field by field.
TEST_F(InfluenceTest, TheEntriesOfALongListToo) {
    std::string list;
    for (int i = 1; i <= 15; i++)
        list +=
            format("%srule%d:1:x:%d:%d:tcp:%d", i == 1 ? "" : "\x01", i, 8000 + i, 80 + i, i + 1);
    play_with({}, {{"fw_in_rules", list}, {"lan_ipaddr", "192.168.1.1"}, {"fw_nat", "1"}},
              {"rc", "firewall", "create"});
    for (int i = 1; i <= 15; i++)
        EXPECT_THAT(why_of(format("--dport %d ", 8000 + i), "fw_in_rules"),
                    ElementsAre(format("fw_in_rules entry %d=rule%d:1:x:%d:%d:tcp:%d", i, i,
                                       8000 + i, 80 + i, i + 1)));
}

// A service is found by its name in another list, and the first unknown name ends the search.
TEST_F(InfluenceTest, AnEntryThatAnotherSettingNames) {
    play_with({},
              {{"lan_if", "br0"},
               {"ac_control", "2"},
               {"access_control", "0000CHAT\x01NEWS"},
               {"fw_services",
                "MAIL:tcp:25-25\x01NEWS:tcp:119-119\x01"
                "CHAT:udp:5190-5191"}},
              {"rc", "firewall", "create"});
    EXPECT_THAT(why_of("--dport 119:119", "fw_services"),
                ElementsAre("fw_services entry 2=NEWS:tcp:119-119",
                            "if fw_services entry 3=CHAT:udp:5190-5191"))
        << plan_.after.transcript.text();
    EXPECT_THAT(why_of("--dport 119:119", "access_control"),
                ElementsAre("if access_control entries 1-2"));
}

TEST(Influences, NumbersOfEntriesAreShort) {
    struct Row {
        std::vector<unsigned> entries;
        const char* text;
    };
    for (const Row& row : {
             Row{{}, "if fw_in_rules=a:1:x:1:2:tcp:3\\x01b"},
             Row{{2}, "if fw_in_rules entry 2=b"},
             Row{{1, 2}, "if fw_in_rules entries 1-2"},
             Row{{1, 3, 4, 5, 9}, "if fw_in_rules entries 1, 3-5, 9"},
         }) {
        const Influence influence = {.input = {Input::Kind::Setting, "fw_in_rules"},
                                     .answer =
                                         "a:1:x:1:2:tcp:3\x01"
                                         "b",
                                     .decides = true,
                                     .entries = row.entries};
        EXPECT_EQ(influence.text(), row.text);
    }
}

TEST_F(InfluenceTest, TheClockBeforeTheTenthSecond) {
    World world;
    world.uptime_microseconds = 5'000'000;
    world.put("/var/run/rc.httpd.run", "/proc/uptime\n");
    play_with(world, {}, {"rc", "httpd", "stop"});
    // In the first ten seconds after the kernel's start, another run counts as running.
    EXPECT_THAT(why("ap_name=httpd action=stop"), IsEmpty());
    EXPECT_EQ(lines_of(plan_.after.transcript).size(), 2U) << plan_.after.transcript.text();
}

TEST(Neighbours, KeepTheirKind) {
    EXPECT_THAT(neighbours("192.168.1.0"), ElementsAre("191.168.1.0", "192.167.1.0", "192.168.0.0",
                                                       "192.168.1.1", "191.167.0.1"));
    EXPECT_THAT(neighbours("dhcpc"), ElementsAre("dhcpd"));
    EXPECT_THAT(neighbours("1"), ElementsAre("0"));
    EXPECT_THAT(neighbours("0"), ElementsAre("1"));
    EXPECT_THAT(neighbours("10"), ElementsAre("09"));
    EXPECT_THAT(neighbours(""), IsEmpty());
    EXPECT_THAT(neighbours(";:"), IsEmpty());
    EXPECT_THAT(neighbours("99999999999999999999"), ElementsAre("9999999999999999999"));
}

TEST(Statements, ReadAsSentences) {
    using Kind = Input::Kind;
    EXPECT_EQ(statement({Kind::Setting, "lan_if"}, "br0"), "lan_if=br0");
    EXPECT_EQ(statement({Kind::Setting, "lan_if"}, ""), "lan_if=");
    EXPECT_EQ(statement({Kind::Setting, "lan_if"}, std::nullopt), "lan_if is not set");
    EXPECT_EQ(statement({Kind::Address, "br0"}, std::nullopt), "br0 has no address");
    EXPECT_EQ(statement({Kind::Mtu, "br0"}, "1400"), "br0 has the MTU 1400");
    EXPECT_EQ(statement({Kind::Mac, "br0"}, std::nullopt), "there is no interface br0");
    EXPECT_EQ(statement({Kind::Output, "/bin/ps -ax"}, "1 init\n"), "/bin/ps -ax prints 1 init\\n");
    EXPECT_EQ(statement({Kind::Output, "/bin/ps -ax"}, std::nullopt), "/bin/ps -ax prints nothing");
    EXPECT_EQ(statement({Kind::File, "/tmp/x"}, std::nullopt), "there is no file /tmp/x");
    EXPECT_EQ(statement({Kind::File, "/tmp/x"}, ""), "file /tmp/x is empty");
    EXPECT_EQ(statement({Kind::Host, "vpn"}, std::nullopt), "vpn is not found by name");
    EXPECT_EQ(statement({Kind::Flash, ""}, std::nullopt), "flash was never written");
    EXPECT_EQ(statement({Kind::Clock, ""}, "2024-01-01 00:00:00"),
              "the clock says 2024-01-01 00:00:00 UTC");
    EXPECT_EQ(statement({Kind::Uptime, ""}, "5"), "the router has run for 5 s");
    // Names of a router are bytes too.
    EXPECT_EQ(statement({Kind::Address, "p\xc2\x9bp\x1b"}, "10.0.0.1"),
              "p\\xc2\\x9bp\\x1b has the address 10.0.0.1");
}

TEST(Lines, DifferenceIsShortestAndInOrder) {
    const std::vector<std::string> a = {"one", "two", "three", "four"};
    const std::vector<std::string> b = {"one", "2", "three", "four", "five"};
    const std::vector<LineChange> changes = compare_lines(a, b);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].from, 1U);
    EXPECT_EQ(changes[0].to, 2U);
    EXPECT_EQ(changes[0].other_from, 1U);
    EXPECT_EQ(changes[0].other_to, 2U);
    EXPECT_EQ(changes[1].from, 4U);
    EXPECT_EQ(changes[1].to, 4U);
    EXPECT_EQ(changes[1].other_from, 4U);
    EXPECT_EQ(changes[1].other_to, 5U);
    EXPECT_TRUE(compare_lines(a, a).empty());
    EXPECT_EQ(compare_lines({}, std::span<const std::string>(b)).size(), 1U);
}

}  // namespace
