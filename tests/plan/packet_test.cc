// Verdicts of configured firewalls on packets, with the rule that decides. The router is
// 192.168.1.1 on br0 and 10.0.0.2 on eth2.2.

#include "walked.h"

namespace {

constexpr const char* web_from_lan = "proto=tcp src=192.168.1.33 dst=198.51.100.80 dport=80";
constexpr const char* masqueraded = ", from 10.0.0.2 (MASQUERADE by rule 1 of nat's POSTROUTING)";

TEST(Packet, TheLanGoesOutAndItsAnswersComeBack) {
    const Router router;
    EXPECT_EQ(router.verdict(web_from_lan),
              std::string("ACCEPT by rule 5 of FW_BASIC") + masqueraded);
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=40000"
                             " state=established"),
              "ACCEPT by rule 3 of FW_BASIC");
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.33 dst=192.168.1.1 dport=67"),
              "ACCEPT by rule 1 of INPUT");
}

TEST(Packet, NothingNewComesIn) {
    const Router router;
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80"),
              "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=icmp src=198.51.100.80 dst=10.0.0.2"),
              "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80 state=established"),
              "ACCEPT by rule 3 of INPUT");
    // A destination other than the router's own is dropped before NAT.
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=80"),
              "DROP by rule 1 of PRE_BASIC");
    // A packet of no connection does not traverse the table nat.
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=80"
                             " state=invalid"),
              "DROP by FORWARD's policy");
}

// What the kernel's connection tracking says of TCP flags (nf_conntrack_proto_tcp.c).
TEST(Packet, FlagsThatNoConnectionBeginsWithAreInvalid) {
    constexpr unsigned every = Fin | Syn | Rst | Psh | Ack | Urg;
    for (const unsigned valid : {unsigned{Syn}, Syn | Urg, Syn | Ack, unsigned{Rst}, Rst | Ack,
                                 Fin | Ack, Fin | Ack | Urg, unsigned{Ack}, Ack | Urg}) {
        EXPECT_TRUE(are_tracked(valid)) << tcp_flags_text(valid);
        EXPECT_TRUE(are_tracked(valid | Psh)) << tcp_flags_text(valid);
    }
    size_t tracked = 0;
    for (unsigned flags = 0; flags <= every; flags++)
        if (are_tracked(flags)) tracked++;
    EXPECT_EQ(tracked, 18U);
    for (const unsigned flags : {unsigned{Syn}, Syn | Urg, unsigned{Ack}, Ack | Psh})
        EXPECT_TRUE(begin_connection(flags)) << tcp_flags_text(flags);
    for (const unsigned flags : {Syn | Ack, unsigned{Rst}, Rst | Ack, Fin | Ack, Syn | Fin, 0U})
        EXPECT_FALSE(begin_connection(flags)) << tcp_flags_text(flags);

    const Router router(Settings{{"fw_in_rules", "web:1:x:8080:80:tcp:40"}});
    const std::string web = "proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8080 flags=";
    EXPECT_EQ(router.verdict(web + "SYN"),
              "ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)");
    // An invalid packet is not translated, so it reaches the router itself.
    for (const char* flags : {"SYN,FIN", "SYN,RST", "FIN,RST", "NONE", "FIN,PSH,URG", "ALL"})
        EXPECT_EQ(router.verdict(web + flags), "DROP by INPUT's policy") << flags;
    EXPECT_EQ(router.verdict(web + "SYN,FIN state=new"),
              "ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)");
}

TEST(Packet, ADecisionNamesTheJumpsThatLeadToIt) {
    const auto jumps = [](const std::optional<Decision>& decision) {
        std::string text;
        for (const Decision& jump : decision.value().jumps) text += jump.text() + "; ";
        return text;
    };
    const Router router(Settings{{"fw_in_rules", "web:1:x:8080:80:tcp:40"}});
    const Walk walk = router.walk("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8080");
    EXPECT_EQ(jumps(walk.destination_nat), "rule 6 of nat's PREROUTING; ");
    EXPECT_EQ(jumps(walk.decision), "");
    EXPECT_EQ(jumps(router.walk(web_from_lan).decision), "rule 5 of FORWARD; ");

    const Walk deep = walk_of(tables_after("iptables -N A\niptables -N B\niptables -N C\n"
                                           "iptables -A FORWARD -j A\niptables -A A -j C\n"
                                           "iptables -A A -j B\niptables -A B -j DROP\n"),
                              networks_of(router.world_in_force()), web_from_lan);
    EXPECT_EQ(deep.verdict_text(), "DROP by rule 1 of B");
    EXPECT_EQ(jumps(deep.decision), "rule 1 of FORWARD; rule 2 of A; ");
}

TEST(Packet, AcceptedMarksPassBothWays) {
    const Router router;
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80 mark=0x2511"),
              "ACCEPT by rule 1 of LOCAL_SERVICE");
    EXPECT_EQ(router.verdict("proto=gre in=eth2.2 src=198.51.100.80 dst=192.168.1.33 state=invalid"
                             " mark=0x2511"),
              "ACCEPT by rule 4 of FW_BASIC");
}

TEST(Packet, WithoutNatAllIsForwarded) {
    const Router router(Settings{{"fw_nat", "0"}});
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=80"),
              "ACCEPT by FORWARD's policy");
    EXPECT_EQ(router.verdict(web_from_lan), "ACCEPT by rule 5 of FW_BASIC");
}

TEST(Packet, AForwardedPort) {
    const Router router(Settings{{"fw_in_rules", "web:1:x:8080:80:tcp:40"}});
    const Walk outside = router.walk("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8080");
    EXPECT_EQ(outside.verdict_text(),
              "ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)");
    EXPECT_EQ(effects(outside),
              "nat: to 192.168.1.40:80; filter: MSS limited to the path MTU;"
              " filter: logged as \"[PORT FORWARD]\"");
    // From inside, the answer must come back through the router.
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.33 dst=10.0.0.2 dport=8080"),
              "ACCEPT by rule 5 of FW_BASIC, to 192.168.1.40:80 (DNAT by rule 1 of PF),"
              " from 192.168.1.1 (SNAT by rule 1 of nat's POSTROUTING)");
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=8080"),
              "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8081"),
              "DROP by INPUT's policy");
}

TEST(Packet, AForwardOfPptpIncludesGre) {
    const Router router(Settings{{"fw_in_rules", "vpn:1:x:1723:1723:tcp:40"}});
    // Its rules match any source: GRE from outside gets the router's address too.
    EXPECT_EQ(router.verdict("proto=gre src=198.51.100.80 dst=10.0.0.2"),
              "ACCEPT by rule 10 of FORWARD, to 192.168.1.40 (DNAT by rule 2 of PF),"
              " from 192.168.1.1 (SNAT by rule 2 of nat's POSTROUTING)");
    EXPECT_EQ(Router().verdict("proto=gre src=198.51.100.80 dst=10.0.0.2"),
              "DROP by INPUT's policy");
}

TEST(Packet, AForwardedRange) {
    const Router router(
        Settings{{"fw_out_rules", "games:1:x:1700:1800:both:40\x01voice:1:x:5060:5061:udp:41"}});
    // Rules of the first: 8 and 9 log, 10 and 11 accept, 12 is for GRE; of the second: 13 and 14.
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=1700"),
              "ACCEPT by rule 10 of FORWARD, to 192.168.1.40:1700 (DNAT by rule 1 of PF)");
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=1800"),
              "ACCEPT by rule 11 of FORWARD, to 192.168.1.40:1800 (DNAT by rule 2 of PF)");
    EXPECT_EQ(router.verdict("proto=gre src=198.51.100.80 dst=10.0.0.2"),
              "ACCEPT by rule 12 of FORWARD, to 192.168.1.40 (DNAT by rule 3 of PF),"
              " from 192.168.1.1 (SNAT by rule 2 of nat's POSTROUTING)");
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=5061"),
              "ACCEPT by rule 14 of FORWARD, to 192.168.1.41:5061 (DNAT by rule 4 of PF)");
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=1801"),
              "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=5061"),
              "DROP by INPUT's policy");
    // Any protocol but ICMP of the LAN's own traffic comes back through the router.
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.33 dst=10.0.0.2 dport=1750"),
              "ACCEPT by rule 5 of FW_BASIC, to 192.168.1.40:1750 (DNAT by rule 2 of PF),"
              " from 192.168.1.1 (SNAT by rule 1 of nat's POSTROUTING)");
}

TEST(Packet, TheDmzGetsPacketsThatNoOtherRuleMatches) {
    const Router router(Settings{{"fw_dmz_enable", "1"},
                                 {"fw_dmz", "192.168.1.50"},
                                 {"fw_in_rules", "web:1:x:8080:80:tcp:40"}});
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=5000"),
              "ACCEPT by rule 1 of IN_FILTER, to 192.168.1.50:5000 (DNAT by rule 1 of DMZ)");
    EXPECT_EQ(router.verdict("proto=gre src=198.51.100.80 dst=10.0.0.2"),
              "ACCEPT by rule 1 of IN_FILTER, to 192.168.1.50 (DNAT by rule 1 of DMZ)");
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8080"),
              "ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)");
    EXPECT_EQ(router.verdict("proto=icmp src=198.51.100.80 dst=10.0.0.2"),
              "DROP by INPUT's policy");
}

// A kernel module opens the ports of special applications: their packets are related to the
// connection that triggered it.
TEST(Packet, SpecialApplicationsHaveNoRules) {
    const Router router(Settings{{"fw_spapp", "1:1:chat:tcp:6000-6010:udp:7000-7010\x01"}});
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=7000"),
              "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=udp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=7000"
                             " state=related"),
              "ACCEPT by rule 3 of FW_BASIC");
}

TEST(Packet, AccessControlBlocksAll) {
    const Router router(Settings{{"ac_control", "1"}, {"log_access", "1"}});
    const Walk blocked = router.walk(web_from_lan);
    EXPECT_EQ(blocked.verdict_text(), "DROP by rule 2 of ACL_BLOCK");
    EXPECT_EQ(effects(blocked), "filter: logged as \"[ACCESS BLOCK]\"");
    // There is a rule for the router's own address as the source, but the kernel drops such packets
    // from outside.
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.1 dst=198.51.100.80 dport=80"),
              "DROP by the kernel's routing: 192.168.1.1 cannot arrive on br0");
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.33 dst=192.168.1.1 dport=80"),
              "ACCEPT by rule 1 of INPUT");
}

TEST(Packet, AccessControlBlocksServices) {
    const Router router(Settings{{"ac_control", "2"},
                                 {"access_control", "0000FTP\x01Game\x01None\x01HTTP"},
                                 {"fw_services_def", "FTP:tcp:21-21\x01HTTP:tcp:80-80"},
                                 {"fw_services", "Game:both:4000-4010"},
                                 {"fw_trustenable", "1"},
                                 {"access_group", "02:00:00:00:00:12"}});
    const std::string lan = "src=192.168.1.33 dst=198.51.100.80 ";
    EXPECT_EQ(router.verdict(lan + "proto=tcp dport=21"), "DROP by rule 1 of ACL_BLOCK");
    EXPECT_EQ(router.verdict(lan + "proto=udp dport=4010"), "DROP by rule 1 of ACL_BLOCK");
    EXPECT_EQ(router.verdict(lan + "proto=udp dport=21"),
              std::string("ACCEPT by rule 5 of FW_BASIC") + masqueraded);
    // Names after an unknown one are not blocked.
    EXPECT_EQ(router.verdict(web_from_lan),
              std::string("ACCEPT by rule 5 of FW_BASIC") + masqueraded);
    EXPECT_EQ(router.verdict(lan + "proto=tcp dport=21 mac-source=02:00:00:00:00:12"),
              std::string("ACCEPT by rule 1 of OUT_FILTER") + masqueraded);
}

// The router's clock says Monday, 0 o'clock.
TEST(Packet, AccessControlBySchedule) {
    const Settings closed = {{"ac_control", "1"}, {"ac_sch", "1"}, {"fw_schedule", "1:8:0-9:0"}};
    Settings open = closed;
    open["fw_schedule"] = "1:0:0-9:0";
    EXPECT_EQ(Router(closed).verdict(web_from_lan),
              std::string("ACCEPT by rule 5 of FW_BASIC") + masqueraded);
    EXPECT_EQ(Router(open).verdict(web_from_lan), "DROP by rule 1 of ACL_BLOCK");
}

TEST(Packet, KeywordsAreBlockedInWebRequests) {
    Settings settings = {{"fw_block", "1"},
                         {"fw_block_keyword", "casino\x01roulette"},
                         {"fw_block_trust_enable", "1"},
                         {"fw_block_trust", "192.168.1.40"}};
    const Router router(settings);
    const std::string request = std::string(web_from_lan) + " string=GET+/roulette+HTTP/1.1";
    const Walk blocked = router.walk(request);
    EXPECT_EQ(blocked.verdict_text(), "REJECT by rule 2 of BLOCK");
    EXPECT_EQ(effects(blocked), "filter: logged as \"[BLOCK]\"; filter: answered with http-block");
    EXPECT_EQ(router.verdict(std::string(web_from_lan) + " string=GET+/news+HTTP/1.1"),
              "ACCEPT by rule 3 of FW_BASIC");
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.40 dst=198.51.100.80 dport=80 string=casino"),
              "ACCEPT by rule 3 of FW_BASIC");
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.33 dst=198.51.100.80 dport=81 string=casino"),
              "ACCEPT by rule 3 of FW_BASIC");
    // Only segments with exactly PSH and ACK are searched.
    EXPECT_EQ(router.verdict(request + " flags=PSH,ACK,FIN state=established"),
              "ACCEPT by rule 3 of FW_BASIC");

    settings["fw_block"] = "2";
    EXPECT_EQ(Router(settings).verdict(request), "ACCEPT by rule 3 of FW_BASIC");
    settings["fw_schedule"] = "1:0:0-9:0";
    EXPECT_EQ(Router(settings).verdict(request), "REJECT by rule 2 of BLOCK");
}

TEST(Packet, RemoteManagement) {
    Settings settings = {{"fw_remote", "1"},
                         {"fw_remote_port", "8889"},
                         {"fw_remote_type", "1"},
                         {"fw_remote_single", "198.51.100.80"},
                         {"fw_remote_range_start", "198.51.100.90"},
                         {"fw_remote_range_end", "198.51.100.99"}};
    const char* managed =
        "ACCEPT by rule 2 of LOCAL_SERVICE, to 192.168.1.1:80 (DNAT by rule 3 of PRE_BASIC)";
    const char* friendly = "proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=8889";
    const char* in_range = "proto=tcp src=198.51.100.99 dst=10.0.0.2 dport=8889";
    EXPECT_EQ(Router(settings).verdict(friendly), managed);
    EXPECT_EQ(Router(settings).verdict(in_range), "DROP by INPUT's policy");
    EXPECT_EQ(Router(settings).verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80"),
              "DROP by INPUT's policy");
    settings["fw_remote_type"] = "2";
    EXPECT_EQ(Router(settings).verdict(friendly), "DROP by INPUT's policy");
    EXPECT_EQ(Router(settings).verdict(in_range), managed);
    settings["fw_remote_type"] = "3";
    EXPECT_EQ(Router(settings).verdict(friendly), managed);
    settings["fw_remote_type"] = "4";
    EXPECT_EQ(Router(settings).verdict(friendly), "DROP by INPUT's policy");
}

TEST(Packet, Pings) {
    const Router router(Settings{{"fw_response_ping", "1"}});
    EXPECT_EQ(router.verdict("proto=icmp src=198.51.100.80 dst=10.0.0.2"),
              "ACCEPT by rule 2 of LOCAL_SERVICE");
    const Walk flood = router.walk("proto=icmp src=198.51.100.80 dst=10.0.0.2 over-limit");
    EXPECT_EQ(flood.verdict_text(), "DROP by rule 7 of DOS");
    EXPECT_EQ(effects(flood), "filter: logged as \"[DOS] \"");
    EXPECT_EQ(flood.assumptions,
              (std::vector<std::string>{"it is sent to the router's own MAC address (--mac-dest)",
                                        "it exceeds every limit (--over-limit)"}));
}

TEST(Packet, Floods) {
    const Router router;
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80 over-limit"),
              "DROP by rule 7 of DOS");
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=10.0.0.2 dport=53 over-limit"),
              "DROP by rule 7 of DOS");
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.33 dst=192.168.1.1 dport=80 over-limit"),
              "ACCEPT by rule 1 of INPUT");
    // Packets from other interfaces are exempt from the limits; the policy decides.
    EXPECT_EQ(router.verdict("proto=udp src=10.9.0.1 in=ra0 dst=10.0.0.2 dport=53 over-limit"),
              "DROP by INPUT's policy");
    // TCP segments other than the first are not counted.
    EXPECT_EQ(
        router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80 flags=ACK over-limit"),
        "DROP by INPUT's policy");
}

}  // namespace
