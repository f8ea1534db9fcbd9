// The firewall's parsers and its rule script.

#include "firewall/firewall.h"
#include "firewall/block_lists.h"
#include "firewall/forward_lists.h"
#include "firewall/qos_rules.h"
#include "firewall/rules.h"
#include "firewall/services.h"
#include "firewall/trigger_lists.h"
#include "firewall/unused.h"
#include "recorded.h"
#include "sched/sched.h"

namespace {

using FirewallTest = RecordedTest;

TEST_F(FirewallTest, RulesGoToTheOpenScriptOnly) {
    EXPECT_EQ(fw_rule("-F"), -1);
    {
        const RuleScript script;
        EXPECT_EQ(fw_rule("-A %s -p %d", "DOS", 2), 21);
        fw_rule("%s", "100% %s %n");
    }
    EXPECT_EQ(fw_rule("-F"), -1);
    EXPECT_EQ(*played_.world.get("/tmp/rules"), "iptables -A DOS -p 2\niptables 100% %s %n\n");
}

TEST_F(FirewallTest, ARuleIsCutAt4095Characters) {
    {
        const RuleScript script;
        fw_rule("%s", std::string(5000, 'x').c_str());
        fw_rule("%s", std::string(4095, 'y').c_str());
    }
    EXPECT_EQ(*played_.world.get("/tmp/rules"),
              "iptables " + std::string(4095, 'x') + "\niptables " + std::string(4095, 'y') + "\n");
}

// Lines are buffered until one does not fit, at any fill level.
TEST_F(FirewallTest, RulesOfEveryLengthAreWrittenInOrder) {
    for (size_t length = 4040; length <= 4095; length++) {
        const std::string filler(length, 'x');
        const std::string longest(4095, 'y');
        {
            const RuleScript script;
            fw_rule("%s", filler.c_str());
            EXPECT_EQ(fw_rule("-A %s -j %s", "A", "B"), 19);
            EXPECT_EQ(fw_rule("%s", longest.c_str()), 4105);
            fw_rule("-A C");
        }
        EXPECT_EQ(*played_.world.get("/tmp/rules"), "iptables " + filler +
                                                        "\niptables -A A -j B\niptables " +
                                                        longest + "\niptables -A C\n")
            << length;
    }
}

TEST_F(FirewallTest, AScriptThatCannotBeOpenedSwallowsRules) {
    played_.world.denied.insert({"/tmp/rules", "w"});
    {
        const RuleScript script;
        EXPECT_EQ(fw_rule("-F"), -1);
    }
    EXPECT_EQ(transcript(), "");
}

TEST_F(FirewallTest, TablesTakeTheNameUnchanged) {
    constexpr const char* table[] = {"-A X -i %s -j Y", "-A Z", "%s"};
    {
        const RuleScript script;
        fw_rules(table, "a%sb");
    }
    EXPECT_EQ(*played_.world.get("/tmp/rules"),
              "iptables -A X -i a%sb -j Y\niptables -A Z\niptables a%sb\n");
}

TEST_F(FirewallTest, MtuOfAnInterface) {
    played_.world.interfaces["eth2.2"].mtu = 1492;
    EXPECT_EQ(get_if_mtu("eth2.2"), 1492);
    EXPECT_EQ(get_if_mtu("ppp0"), 0);
    EXPECT_EQ(get_if_mtu(std::string(5000, 'x').c_str()), 0);
    EXPECT_EQ(transcript(), "");
    played_.world.denied.insert({"eth2.2", "socket"});
    EXPECT_EQ(get_if_mtu("eth2.2"), 0);
    EXPECT_EQ(transcript(), "error  socket creating failed: Operation not permitted\n");
}

TEST_F(FirewallTest, TheScheduleIsItsFirstCharacter) {
    EXPECT_EQ(schedule_character(), '\0');
    played_.world.put("/tmp/cron_schedule", "");
    EXPECT_EQ(schedule_character(), '\0');
    played_.world.put("/tmp/cron_schedule", "10");
    EXPECT_EQ(schedule_character(), '1');
}

std::string shown(const std::vector<Forward>& forwards) {
    std::string text;
    for (const Forward& f : forwards)
        text += f.first + "," + f.second + "," + f.protocol + "," + f.host + ";";
    return text;
}

TEST(PortForward, Records) {
    struct Row {
        const char* list;
        const char* result;
    };
    for (const Row& row : {
             Row{"", ""},
             Row{"web:1:x:8080:80:tcp:10", "8080,80,tcp,10;"},
             Row{"a:0:x:1:2:tcp:3\x01"
                 "b:1::4:5:udp:6\x01",
                 "4,5,udp,6;"},
             Row{"a:11:x:1:2:tcp:3", ""},
             Row{"a:1x:x:1:2:tcp:3", ""},
             Row{"a", ""},
             Row{"a:1", ""},
             Row{"a:1:x", ""},
             Row{"a:1:x:", ",,,;"},
             Row{"a:1:x:1", "1,,,;"},
             Row{"a:1:x::2:tcp:3", ",,,;"},
             Row{"a:1:x:1:2::3", "1,2,,;"},
             Row{"a:1:x:1:2:tcp:3:4", "1,2,tcp,3:4;"},
             Row{"a:1:x:123456:654321:tcpip:1234", "12345,65432,tcp,123;"},
             Row{"\x01\x01"
                 "a:1:x:1:2:tcp:3",
                 "1,2,tcp,3;"},
         })
        EXPECT_EQ(shown(parse_forwards(row.list, in_rules)), row.result) << row.list;
    EXPECT_EQ(shown(parse_forwards("a:1:x:1:2:bothx:3", out_rules)), "1,2,both,3;");
}

TEST(PortForward, StoresHaveACapacity) {
    std::string list;
    for (int i = 0; i < 40; i++) list += "a:1:x:1:2:tcp:3\x01";
    EXPECT_EQ(parse_forwards(list, in_rules).size(), 15u);
    EXPECT_EQ(parse_forwards(list, out_rules).size(), 10u);
    // Disabled records do not count.
    EXPECT_EQ(parse_forwards("a:0:x:1:2:tcp:3\x01" + list, in_rules).size(), 15u);
}

TEST(PortForward, Addresses) {
    EXPECT_EQ(lan_prefix("192.168.1.1"), "192.168.1");
    EXPECT_EQ(lan_prefix("192.168.100.10"), "192.168.100");
    EXPECT_EQ(lan_prefix("10.0.0.254"), "10.0.0");
    EXPECT_EQ(lan_prefix("router"), "router");
    EXPECT_EQ(lan_prefix(""), "");
    EXPECT_EQ(lan_prefix("a-name-without-an-end"), "a-name-witho");
    EXPECT_EQ(prefix_length("255.255.255.0"), 24);
    EXPECT_EQ(prefix_length("255.255.255.255"), 32);
    EXPECT_EQ(prefix_length("0.0.0.0"), 0);
    EXPECT_EQ(prefix_length("255.0.255.0"), 8);
    EXPECT_EQ(prefix_length("128.0.0.0"), 1);
    EXPECT_EQ(prefix_length("127.0.0.0"), 0);
    EXPECT_EQ(prefix_length(""), 0);
}

TEST(SpecialApps, Lists) {
    struct Row {
        const char* list;
        const char* outport;
        const char* inport;
        int entries;
    };
    for (const Row& row : {
             Row{"", "", "", 0},
             Row{"0:1:a:tcp:6000-6010:udp:7000-7010\x01"
                 "1:1:b:both:100-200:tcp:300-400\x01",
                 "1,6000,6010,0,100,200", "2,7000,7010,1,300,400", 2},
             Row{"0:0:a:tcp:1-2:udp:3-4\x01", "", "", 0},
             Row{"0:1:a:odd:1-2:odd:3-4\x01"
                 "0:1:a:tcp:1-2:udp:3-4\x01"
                 "0:1:a:odd:5-6:odd:7-8",
                 "0,1,2,1,1,2,1,5,6", "0,3,4,2,3,4,2,7,8", 3},
         }) {
        const TriggerLists lists = parse_triggers(row.list);
        EXPECT_EQ(lists.outport, row.outport);
        EXPECT_EQ(lists.inport, row.inport);
        EXPECT_EQ(lists.entries, row.entries);
    }
}

TEST(SpecialApps, AnEntryIsAddedWholeOrNotAtAll) {
    // 46 entries of 11 characters with 45 commas have 551 characters.
    std::string list;
    for (int i = 0; i < 46; i++) list += "0:1:a:tcp:1000-2000:udp:3000-4000\x01";
    const TriggerLists full = parse_triggers(list);
    EXPECT_EQ(full.entries, 42);
    EXPECT_EQ(full.outport.size(), 42u * 11 + 41);
    // A shorter one after those that did not fit still fits.
    const TriggerLists more = parse_triggers(list + "0:1:a:tcp:1-2:udp:3-4");
    EXPECT_EQ(more.entries, 43);
    EXPECT_TRUE(more.outport.ends_with(",1,1,2"));
    EXPECT_TRUE(more.inport.ends_with(",2,3,4"));
    EXPECT_LE(more.outport.size(), 511u);
}

using Parts = std::vector<std::string_view>;

TEST(BlockLists, TrustedMacs) {
    constexpr const char* a = "00:11:22:33:44:0a";
    const std::string one = a;
    const std::string two = "00:11:22:33:44:0b";
    struct Row {
        std::string group;
        Parts macs;
    };
    for (const Row& row : {
             Row{"", {}},
             Row{"00:11:22:33:44:0", {}},
             Row{one, {one}},
             Row{one + "\x01", {one}},
             Row{one + "\x01" + two, {one, two}},
             Row{"\x01\x01" + one + "\x01\x01" + two, {one, two}},
             Row{one + " attic\x01" + two, {one, two}},
             Row{one + two, {one}},
             Row{"\n" + one, {}},
             Row{one + "\x01\n" + two, {one, "\n00:11:22:33:44:0"}},
         })
        EXPECT_EQ(parse_trusted_macs(row.group), row.macs) << row.group;
}

TEST(BlockLists, Keywords) {
    EXPECT_EQ(parse_keywords(""), Parts{});
    EXPECT_EQ(parse_keywords("a b\x01"
                             "c"),
              (Parts{"a b", "c"}));
    EXPECT_EQ(parse_keywords("\x01\x01"
                             "a\x01\x01"),
              Parts{"a"});
    const std::string long_word(300, 'w');
    EXPECT_EQ(parse_keywords(long_word), Parts{long_word.substr(0, 127)});
}

TEST(BlockLists, BlockedServices) {
    for (const char* list : {"", "abc", "abcd"}) EXPECT_EQ(parse_blocked_services(list), Parts{});
    EXPECT_EQ(parse_blocked_services("0000FTP HTTP\x01"
                                     "DNS"),
              (Parts{"FTP", "HTTP", "DNS"}));
    EXPECT_EQ(parse_blocked_services("0000  \x01 FTP\x01\x01"), Parts{"FTP"});
    const std::string long_name(40, 'n');
    EXPECT_EQ(parse_blocked_services("0000" + long_name), Parts{long_name.substr(0, 29)});
    std::string many = "0000";
    for (int i = 0; i < 150; i++) many += "n ";
    EXPECT_EQ(parse_blocked_services(many).size(), 100u);
}

constexpr const char* services =
    "FTP:tcp:20-21\x01"
    "HTTP:tcp:80-80\x01"
    "BAD:tcp:x-1\x01"
    "HALF:tcp:21-\x01"
    "WORD:tcp:21-x\x01"
    "NONE:tcp\x01"
    "A-NAME-OF-MORE-THAN-14:any:1-65535\x01"
    "DNS:udp:53-53";

TEST(Services, AreFoundByTheirWholeName) {
    Service found;
    EXPECT_EQ(search_serv(services, found, "HTTP"), 0);
    EXPECT_EQ(found.name, "HTTP");
    EXPECT_EQ(found.protocol, "tcp");
    EXPECT_EQ(found.first_port, 80);
    EXPECT_EQ(found.last_port, 80);
    EXPECT_EQ(search_serv(services, found, "DNS"), 0);
    EXPECT_EQ(found.protocol, "udp");
    for (const char* name :
         {"", "http", "HTT", "HTTPS", "BAD", "HALF", "WORD", "NONE", "A-NAME-OF-MORE-THAN-14"})
        EXPECT_EQ(search_serv(services, found, name), -1) << name;
    EXPECT_EQ(found.name, "DNS") << "a name that is not there leaves the record alone";
    EXPECT_EQ(search_serv(services, found, "A-NAME-OF-MORE"), 0);
    EXPECT_EQ(search_serv("", found, "HTTP"), -1);
}

TEST_F(FirewallTest, TheUsersServicesComeFirst) {
    set({{"fw_services", "MINE:udp:1-2\x01HTTP:tcp:8080-8080"}, {"fw_services_def", services}});
    Service found;
    EXPECT_EQ(get_serv("HTTP", found), -1);
    EXPECT_EQ(found.first_port, 8080);
    EXPECT_EQ(get_serv("FTP", found), 0);
    EXPECT_EQ(found.first_port, 20);
    EXPECT_EQ(get_serv("GAME", found), -1);
    EXPECT_EQ(found.first_port, 20);
}

TEST_F(FirewallTest, QosRulesAreCutToTheirFields) {
    set({{"qos",
          "1\x02"
          "1\x02"
          "a-name-of-more-than-twenty\x02"
          "1234567\x02"
          "7654321\x02"
          "tcpudp\x02"
          "192.168.100.100.1\x02"
          "12345\x02"
          "123456789\x02"
          "9\x01"
          "0\x02"
          "300\x02short\x01\x01"}});
    QosTable table;
    EXPECT_EQ(read_qos_rules(table), 3);
    const QosRule& rule = table[0];
    EXPECT_EQ(rule.enabled, 1);
    EXPECT_EQ(rule.direction, 1);
    EXPECT_EQ(rule.name, "a-name-of-more-than-");
    EXPECT_EQ(rule.first_port, "12345");
    EXPECT_EQ(rule.last_port, "76543");
    EXPECT_EQ(rule.protocol, "tcpu");
    EXPECT_EQ(rule.first_address, "192.168.100.100");
    EXPECT_EQ(rule.last_octet, "123");
    EXPECT_EQ(rule.rate, "1234567");
    EXPECT_EQ(rule.priority, 9);
    EXPECT_EQ(table[1].direction, 44) << "small integers have eight bits";
    EXPECT_EQ(table[1].name, "short");
    EXPECT_EQ(table[1].rate, "");
    EXPECT_EQ(table[2].name, "");
}

TEST_F(FirewallTest, TwentyQosRulesAreRead) {
    QosTable table;
    set({});
    EXPECT_EQ(read_qos_rules(table), -1);
    std::string list;
    for (int i = 0; i < 30; i++)
        list +=
            "1\x02"
            "0\x02n" +
            std::to_string(i) + "\x01";
    set({{"qos", list}});
    EXPECT_EQ(read_qos_rules(table), 20);
    EXPECT_EQ(table[19].name, "n19");
}

TEST(Qos, RangeEnds) {
    EXPECT_EQ(make_range_end("192.168.1.10", "20"), "192.168.1.20");
    EXPECT_EQ(make_range_end("10", "20"), "10.20");
    EXPECT_EQ(make_range_end("", "1"), ".1");
    EXPECT_EQ(make_range_end(std::string(30, '1'), "2"), std::string(20, '1') + ".2");
}

}  // namespace
