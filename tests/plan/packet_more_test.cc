// Packets of the router's services: names, addresses, multicasts, logins, TTL, QoS; a router
// without rules; unknown verdicts.

#include <algorithm>

#include "walked.h"

namespace {

constexpr const char* web_from_lan = "proto=tcp src=192.168.1.33 dst=198.51.100.80 dport=80";
const std::string masqueraded = ", from 10.0.0.2 (MASQUERADE by rule 1 of nat's POSTROUTING)";

TEST(Packet, NameLookUpsGoToTheProvidersServers) {
    Router router;
    router.world().put("/etc/resolv.conf",
                       "domain lan\nnameserver 203.0.113.53\nnameserver 203.0.113.54\n");
    const char* look_up = "proto=udp src=192.168.1.33 dst=192.168.1.1 dport=53";
    const Walk drawn = router.walk(look_up);
    EXPECT_EQ(
        drawn.verdict_text(),
        "ACCEPT by rule 5 of FW_BASIC, to 203.0.113.54:53 (DNAT by rule 1 of DNS)" + masqueraded);
    EXPECT_EQ(
        drawn.assumptions,
        (std::vector<std::string>{"every random choice matches it (otherwise: --not-drawn)"}));
    EXPECT_EQ(
        router.verdict(std::string(look_up) + " not-drawn"),
        "ACCEPT by rule 5 of FW_BASIC, to 203.0.113.53:53 (DNAT by rule 2 of DNS)" + masqueraded);
    EXPECT_EQ(router.verdict("proto=tcp src=192.168.1.33 dst=192.168.1.1 dport=53"),
              "ACCEPT by rule 1 of INPUT");
}

// The DHCP client receives packets that the policy drops through its own socket.
TEST(Packet, ALeaseIsOfferedByBroadcast) {
    const char* offer = "proto=udp src=10.0.0.1 dst=255.255.255.255 sport=67 dport=68";
    const Router router(Settings{{"wan_mode", "dhcpc"}});
    const Walk walk = router.walk(std::string(offer) + " over-limit");
    EXPECT_EQ(walk.verdict_text(), "DROP by INPUT's policy");
    EXPECT_EQ(std::ranges::count_if(walk.steps,
                                    [](const WalkStep& step) {
                                        return step.chain == "PRE_BASIC" && step.number == 1;
                                    }),
              1);
    EXPECT_EQ(Router().verdict(offer), "DROP by rule 1 of PRE_BASIC");
}

TEST(Packet, Multicasts) {
    const Router router(Settings{{"igmp_enable", "1"}});
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=239.1.1.1 dport=5000"),
              "DROP by rule 2 of DOS");
    // The limits are for TCP, UDP and pings, so IGMP does not reach the rule that would accept it.
    EXPECT_EQ(router.verdict("proto=igmp src=10.0.0.1 dst=224.0.0.1"), "DROP by INPUT's policy");
    EXPECT_EQ(router.verdict("proto=igmp src=192.168.1.33 dst=239.1.1.1"),
              "ACCEPT by rule 1 of INPUT");
    // If the kernel routes the group, the packet is forwarded.
    EXPECT_EQ(router.verdict("proto=udp src=198.51.100.80 dst=239.1.1.1 dport=5000 out=br0"),
              "DROP by FORWARD's policy");
    EXPECT_EQ(Router().verdict("proto=udp src=198.51.100.80 dst=239.1.1.1 dport=5000"),
              "DROP by rule 1 of PRE_BASIC");
}

TEST(Packet, TheLanWaitsForTheLogin) {
    EXPECT_EQ(Router(Settings{{"wan_mode", "bpa"}}).verdict(web_from_lan),
              "DROP by rule 3 of FORWARD");
    EXPECT_EQ(Router(Settings{{"wan_mode", "bpa"}, {"bpa_login", "1"}}).verdict(web_from_lan),
              "ACCEPT by rule 5 of FW_BASIC" + masqueraded);
    EXPECT_EQ(Router(Settings{{"wan_mode", "ras"}}).verdict(web_from_lan),
              "DROP by rule 3 of FORWARD");
}

TEST(Packet, NewConnectionsAreLogged) {
    const Router router(Settings{{"log_outgoing", "1"}});
    EXPECT_EQ(effects(router.walk("proto=udp src=192.168.1.33 dst=198.51.100.80 dport=53")),
              "filter: logged as \"[Out Going]\"; nat: from 10.0.0.2");
    EXPECT_EQ(effects(router.walk("proto=udp src=192.168.1.33 dst=198.51.100.80 dport=53"
                                  " state=established")),
              "");
}

TEST(Packet, SegmentSizes) {
    Router router(Settings{{"wan_mtu", "1492"}});
    router.world().interfaces["eth2.2"].mtu = 1400;
    const std::string syn = std::string(web_from_lan) + " mss=";
    EXPECT_EQ(effects(router.walk(syn + "1361")),
              "filter: MSS 1360; filter: MSS limited to the path MTU; nat: from 10.0.0.2");
    EXPECT_EQ(effects(router.walk(syn + "1360")),
              "filter: MSS limited to the path MTU; nat: from 10.0.0.2");
    EXPECT_EQ(effects(router.walk(std::string(web_from_lan) + " flags=SYN,ACK mss=1460"
                                                              " state=established")),
              "filter: MSS 1360; filter: MSS limited to the path MTU");
}

TEST(Packet, TimeToLive) {
    const char* ping = "proto=icmp src=192.168.1.33 dst=198.51.100.80";
    const auto changed = [&](const char* mode) {
        return effects(Router(Settings{{"fw_ttl", mode}, {"fw_ttl_ud", "77"}}).walk(ping));
    };
    EXPECT_EQ(changed("0"), "nat: from 10.0.0.2");
    EXPECT_EQ(changed("1"), "mangle: TTL increased by 1; nat: from 10.0.0.2");
    EXPECT_EQ(changed("2"), "mangle: TTL increased by 2; nat: from 10.0.0.2");
    EXPECT_EQ(changed("3"), "mangle: TTL 1; nat: from 10.0.0.2");
    EXPECT_EQ(changed("4"), "mangle: TTL 77; nat: from 10.0.0.2");
    const Walk own = Router(Settings{{"fw_ttl", "2"}})
                         .walk("proto=icmp from-router src=10.0.0.2 dst=198.51.100.80");
    EXPECT_EQ(own.verdict_text(), "ACCEPT by OUTPUT's policy" + masqueraded);
    EXPECT_EQ(effects(own), "mangle: TTL increased by 1; nat: from 10.0.0.2");
}

// direction, first port, last port, protocol, first address, last octet, class
std::string qos_record(const std::vector<std::string>& fields) {
    const std::string parts[] = {"1",       fields[0], "name",    fields[1], fields[2],
                                 fields[3], fields[4], fields[5], "100",     fields[6]};
    std::string record;
    for (const std::string& part : parts) record += (record.empty() ? "" : "\x02") + part;
    return record + "\x01";
}

TEST(Packet, QosMarksByPriority) {
    const Router router(
        Settings{{"qos_enable", "1"},
                 {"qos_type", "priority"},
                 {"wan_bandwidth", "1000"},
                 {"qos", qos_record({"0", "80", "0", "tcp", "0", "0", "0"}) +
                             qos_record({"0", "5000", "5010", "both", "192.168.1.30", "39", "2"}) +
                             qos_record({"1", "80", "0", "tcp", "192.168.1.33", "0", "1"}) +
                             qos_record({"0", "53", "0", "udp", "0", "0", "9"})}});
    EXPECT_EQ(router.verdict(web_from_lan), "ACCEPT by rule 5 of FW_BASIC" + masqueraded +
                                                ", mark 1 (MARK by rule 1 of mangle's FORWARD)");
    // Rules 3 and 4 are for TCP, 5 and 6 for UDP.
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.39 dst=198.51.100.80 dport=5010"),
              "ACCEPT by rule 5 of FW_BASIC" + masqueraded +
                  ", mark 3 (MARK by rule 5 of mangle's FORWARD)");
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.40 dst=198.51.100.80 dport=5010"),
              "ACCEPT by rule 5 of FW_BASIC" + masqueraded);
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 sport=80 dst=192.168.1.33"
                             " dport=40000 state=established"),
              "ACCEPT by rule 3 of FW_BASIC, mark 2 (MARK by rule 7 of mangle's FORWARD)");
    // A bandwidth rule marks nothing here.
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.33 dst=198.51.100.80 dport=53"),
              "ACCEPT by rule 5 of FW_BASIC" + masqueraded);
    EXPECT_EQ(router.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=40000"
                             " state=established"),
              "UNKNOWN: rule 7 of mangle's FORWARD: it depends on the source port (--sport)");
}

TEST(Packet, QosMarksByBandwidth) {
    const Router router(
        Settings{{"qos_enable", "1"},
                 {"qos_type", "bandwidth"},
                 {"wan_bandwidth", "1000"},
                 {"qos", qos_record({"0", "80", "0", "tcp", "0", "0", "9"}) +
                             qos_record({"0", "53", "0", "udp", "0", "0", "1"}) +
                             qos_record({"0", "0", "0", "udp", "192.168.1.33", "0", "9"})}});
    EXPECT_EQ(router.verdict(web_from_lan), "ACCEPT by rule 5 of FW_BASIC" + masqueraded +
                                                ", mark 20 (MARK by rule 1 of mangle's FORWARD)");
    EXPECT_EQ(router.verdict("proto=udp src=192.168.1.33 dst=198.51.100.80 dport=53"),
              "ACCEPT by rule 5 of FW_BASIC" + masqueraded +
                  ", mark 30 (MARK by rule 3 of mangle's FORWARD)");
}

TEST(Packet, TunnelsAreMasqueradedOnBothInterfaces) {
    Router router(
        Settings{{"wan_mode", "pptp"}, {"wan_ifname", "ppp0"}, {"wan_phy_ifname", "eth2.2"}});
    router.world().interfaces["ppp0"].address = "10.8.0.2";
    EXPECT_EQ(router.verdict(web_from_lan),
              "ACCEPT by rule 5 of FW_BASIC, from 10.8.0.2 (MASQUERADE by rule 1 of nat's"
              " POSTROUTING)");
    EXPECT_EQ(router.verdict(std::string(web_from_lan) + " out=eth2.2"),
              "ACCEPT by rule 5 of FW_BASIC, from 10.0.0.2 (MASQUERADE by rule 2 of nat's"
              " POSTROUTING)");
}

TEST(Packet, WithoutAnAddressOfTheWan) {
    Router router(Settings{{"fw_dmz_enable", "1"}, {"fw_dmz", "192.168.1.50"}});
    router.world().interfaces.clear();
    EXPECT_EQ(router.verdict(web_from_lan),
              "ACCEPT by rule 5 of FW_BASIC, from the address of eth2.2"
              " (MASQUERADE by rule 1 of nat's POSTROUTING)");
    // iptables refuses the DMZ's rule, which names no address.
    EXPECT_EQ(router.verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=5000"),
              "DROP by FORWARD's policy");
}

TEST(Packet, ARouterWithoutRules) {
    EXPECT_EQ(Router(Settings{{"ap_mode", "1"}})
                  .verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80"),
              "ACCEPT by INPUT's policy");
    const Router stopped({}, {"firewall", "stop"});
    EXPECT_EQ(stopped.verdict("proto=tcp in=eth2.2 src=198.51.100.80 dst=192.168.1.33 dport=80"),
              "ACCEPT by FORWARD's policy");
    EXPECT_EQ(
        stopped.verdict("proto=udp src=10.0.0.1 dst=10.0.0.2 dport=68"),
        "ACCEPT by INPUT's policy, to 255.255.255.255:68 (DNAT by rule 1 of nat's PREROUTING)");
    // Rules are written but not run yet.
    EXPECT_EQ(Router({}, {"firewall", "create"})
                  .verdict("proto=tcp src=198.51.100.80 dst=10.0.0.2 dport=80"),
              "ACCEPT by INPUT's policy");
}

// While a link is down, the LAN's look-ups go to an address that triggers dialling.
TEST(Packet, LookUpsOfALinkThatIsDown) {
    const Netfilter tables = tables_after(
        "iptables -I PREROUTING -t nat -i br0 -p udp --dport 53 -d 192.168.1.1 -j DNAT --to"
        " 10.112.112.112\n");
    const Networks home = {.lan_if = "br0",
                           .lan = read_network("192.168.1.1/24"),
                           .wan_if = "ppp0",
                           .addresses = {{"br0", 0xc0a80101}}};
    EXPECT_EQ(
        walk_of(tables, home, "proto=udp src=192.168.1.33 dst=192.168.1.1 dport=53").verdict_text(),
        "ACCEPT by FORWARD's policy, to 10.112.112.112:53 (DNAT by rule 1 of nat's PREROUTING)");
}

TEST(Packet, APatternAmongTheKeywords) {
    const Router router(Settings{{"fw_block", "1"}, {"fw_block_keyword", "*.exe"}});
    EXPECT_EQ(router.verdict(std::string(web_from_lan) + " string=GET+/"),
              "UNKNOWN: rule 1 of HTTP: the shell would expand that pattern to file names");
    EXPECT_EQ(router.verdict(web_from_lan), "ACCEPT by rule 5 of FW_BASIC" + masqueraded);
}

TEST(Packet, ALineWithAnExpansionMakesTheVerdictUnknown) {
    const Router router(Settings{{"fw_block", "1"}, {"fw_block_keyword", "$HOME"}});
    EXPECT_EQ(router.verdict(web_from_lan),
              "UNKNOWN: a script line is not understood (the shell would expand \"$\" or"
              " \"`\"): iptables -A HTTP -m string --string $HOME --algo kmp -j BLOCK");
}

TEST(Packet, LoopsOfChainsEnd) {
    const Netfilter tables = tables_after(
        "iptables -N A\niptables -N B\niptables -A A -j B\niptables -A B -j A\n"
        "iptables -A FORWARD -j A\n");
    const Walk walk = walk_of(tables, {.wan_if = "eth2.2"}, "proto=gre in=br0 dst=8.8.8.8");
    EXPECT_EQ(walk.verdict, Verdict::Unknown);
    EXPECT_NE(walk.unknown_reason.find("the chains form a loop"), std::string::npos);
}

TEST(Packet, TheKernelDropsSpoofedSources) {
    const Router router;
    for (const char* source :
         {"10.0.0.2", "192.168.1.1", "127.0.0.1", "224.0.0.1", "192.168.1.255"})
        EXPECT_EQ(
            router.verdict(std::string("proto=gre in=eth2.2 dst=10.0.0.2 src=") + source),
            std::string("DROP by the kernel's routing: ") + source + " cannot arrive on eth2.2");
    EXPECT_EQ(router.verdict("proto=gre in=lo dst=10.0.0.2 src=10.0.0.2"),
              "ACCEPT by rule 2 of INPUT");
    // NAT comes first.
    EXPECT_EQ(router.verdict("proto=gre in=eth2.2 dst=10.0.0.3 src=10.0.0.2"),
              "DROP by rule 1 of PRE_BASIC");
}

TEST(Packet, TheKernelDropsPacketsToAddressesThatAreOnNoLink) {
    const Router router;
    for (const char* destination : {"127.0.0.1", "127.255.255.255", "0.0.0.0"})
        EXPECT_EQ(
            router.verdict(std::string("proto=gre in=br0 src=192.168.1.9 dst=") + destination),
            std::string("DROP by the kernel's routing: nothing to ") + destination +
                " can arrive on br0");
    // It drops them after NAT.
    const Netfilter tables = tables_after(
        "iptables -t nat -A PREROUTING -i eth2.2 -d 198.51.100.1 -j DNAT --to 127.0.0.1\n");
    EXPECT_EQ(walk_of(tables, {.wan_if = "eth2.2"}, "proto=gre in=eth2.2 dst=198.51.100.1").verdict,
              Verdict::Drop);
}

TEST(Packet, HostsWithoutAnAddressMayAskEveryone) {
    const Router router;
    const std::string from = "proto=udp sport=68 dport=67 in=br0 src=0.0.0.0 dst=";
    for (const char* destination : {"255.255.255.255", "0.0.0.0", "224.0.0.251"})
        EXPECT_EQ(router.verdict(from + destination), "ACCEPT by rule 1 of INPUT");
    for (const char* destination : {"192.168.1.1", "198.51.100.80", "239.1.1.1"})
        EXPECT_EQ(router.verdict(from + destination),
                  "DROP by the kernel's routing: 0.0.0.0 cannot arrive on br0");
    EXPECT_EQ(router.verdict("proto=2 in=br0 src=0.0.0.0 dst=239.1.1.1"),
              "ACCEPT by rule 1 of INPUT");
}

TEST(Packet, RulesThatOnlyCountAndReturn) {
    const Netfilter tables = tables_after(
        "iptables -N A\niptables -A A -p gre\niptables -A A -j RETURN\niptables -A A -j DROP\n"
        "iptables -A FORWARD -j A\niptables -A FORWARD -j RETURN\niptables -A FORWARD -j DROP\n");
    const Walk walk = walk_of(tables, {.wan_if = "eth2.2"}, "proto=gre in=br0 dst=8.8.8.8");
    EXPECT_EQ(walk.verdict_text(), "ACCEPT by FORWARD's policy");
    EXPECT_EQ(effects(walk), "filter: counted");
}

TEST(PacketOptions, Deductions) {
    const Networks home = networks_of(Router().world());
    struct Row {
        const char* options;
        std::vector<std::string> assumptions;
    };
    for (const Row& row : {
             Row{"proto=gre in=br0 dst=8.8.8.8", {}},
             Row{"proto=gre src=192.168.1.9 dst=8.8.8.8",
                 {"it arrives on br0, the route to 192.168.1.9 (--in)"}},
             Row{"proto=gre src=8.8.8.8 dst=10.0.0.2",
                 {"it arrives on eth2.2, the route to 8.8.8.8 (--in)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8", {"its TCP flags are SYN (--flags)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 state=related", {"its TCP flags are ACK (--flags)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=SYN", {}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=SYN,URG,PSH", {}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=ACK", {}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=SYN,ACK",
                 {"it is INVALID, since no connection begins with the flags SYN,ACK (--state)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=FIN,SYN",
                 {"it is INVALID, since no valid packet has the flags FIN,SYN (--state)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=NONE",
                 {"it is INVALID, since no valid packet has the flags NONE (--state)"}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=SYN,ACK state=established", {}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 flags=NONE state=new", {}},
             Row{"proto=tcp in=br0 dst=8.8.8.8 string=GET",
                 {"it belongs to an established connection, since it carries text (--state)",
                  "its TCP flags are PSH,ACK (--flags)"}},
             Row{"proto=udp in=br0 dst=8.8.8.8 string=GET", {}},
             Row{"proto=icmp in=br0 dst=8.8.8.8", {"it is an echo request (--icmp-type)"}},
             Row{"proto=icmp in=br0 dst=8.8.8.8 state=established", {}},
             Row{"proto=udp in=br0 dst=255.255.255.255",
                 {"it is sent to the MAC address ff:ff:ff:ff:ff:ff (--mac-dest)"}},
         }) {
        const auto stated = state_packet(options_of(row.options), home);
        ASSERT_TRUE(std::holds_alternative<StatedPacket>(stated)) << row.options;
        EXPECT_EQ(std::get<StatedPacket>(stated).assumptions, row.assumptions) << row.options;
    }
}

TEST(PacketOptions, Errors) {
    const Networks home = networks_of(Router().world());
    struct Row {
        const char* options;
        const char* message;
    };
    for (
        const Row& row : {
            Row{"in=br0 dst=8.8.8.8", "--proto is missing; give tcp, udp, icmp or a number"},
            Row{"in=br0 dst=8.8.8.8 proto=all",
                "--proto is missing; give tcp, udp, icmp or a number"},
            Row{"in=br0 dst=8.8.8.8 proto=tpc", "--proto 'tpc': not understood"},
            Row{"in=br0 proto=tcp", "--dst is missing; give the destination address"},
            Row{"in=br0 dst=8.8.8 proto=tcp", "--dst '8.8.8': not understood"},
            Row{"dst=8.8.8.8 proto=tcp", "--src and --in are missing; give one of them"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp dport=http", "--dport 'http': not understood"},
            Row{"in=br0 dst=8.8.8.8 proto=icmp dport=80",
                "--sport, --dport: only tcp and udp have ports"},
            Row{"in=br0 dst=8.8.8.8 proto=udp syn",
                "--flags, --mss: only tcp has flags and an MSS"},
            Row{"in=br0 dst=8.8.8.8 proto=udp mss=1460",
                "--flags, --mss: only tcp has flags and an MSS"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp flags=SIN", "--flags 'SIN': not understood"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp flags=SYN syn",
                "--syn and --flags: give only one of them"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp icmp-type=8", "--icmp-type: only icmp has types"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp state=old", "--state 'old': not understood"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp mac-source=02:00",
                "--mac-source '02:00': not understood"},
            Row{"in=br0 dst=8.8.8.8 proto=tcp mark=one", "--mark 'one': not understood"},
            Row{"in=br0 from-router dst=8.8.8.8 proto=tcp",
                "--in and --from-router: a packet from the router itself has no incoming interface"},
        }) {
        const auto stated = state_packet(options_of(row.options), home);
        ASSERT_TRUE(std::holds_alternative<PacketError>(stated)) << row.options;
        EXPECT_EQ(std::get<PacketError>(stated).message, row.message) << row.options;
    }
    const auto nowhere = state_packet(options_of("in=br0 dst=8.8.8.8 proto=tcp"), {});
    ASSERT_TRUE(std::holds_alternative<PacketError>(nowhere));
    EXPECT_EQ(std::get<PacketError>(nowhere).message,
              "the settings name no WAN interface; set wan_ifname");
}

// With any scripts, the walk ends with a verdict.
TEST(Packet, MalformedRulesNeverCrash) {
    Router router(Settings{{"fw_block", "1"},
                           {"fw_block_keyword", "casino"},
                           {"fw_dmz_enable", "1"},
                           {"fw_dmz", "192.168.1.50"},
                           {"fw_in_rules", "web:1:x:8080:80:tcp:40"},
                           {"igmp_enable", "1"}});
    const Plan plan = make_plan(router.world(), {"rc", "firewall", "create"});
    const std::string script = *plan.after.world.get("/tmp/rules");
    size_t refused = 0;
    size_t open = 0;
    const auto try_script = [&](const std::string& text) {
        const Netfilter tables = tables_after(text);
        const Walk walk = walk_of(tables, networks_of(router.world()), web_from_lan);
        EXPECT_NE(walk.verdict_text(), "");
        EXPECT_GE(tables.chains.size(), 11u);
        refused += tables.refused.size();
        if (walk.verdict == Verdict::Unknown) open++;
    };
    for (size_t at = 0; at < script.size(); at += 29) {
        try_script(script.substr(0, at));
        std::string changed = script;
        changed.erase(at, 3);
        try_script(changed);
        for (const char c : {'!', '"', '\'', '\0', '-', '\xff'}) {
            changed = script;
            changed[at] = c;
            try_script(changed);
        }
    }
    EXPECT_GT(refused, 0u);
    EXPECT_GT(open, 0u);
}

}  // namespace
