// The conditions of rules: which packets match, which arguments iptables accepts, and the order in
// which the kernel evaluates them.

#include "plan/netfilter/rule_reading.h"
#include "walked.h"

namespace {

Networks home() {
    return {.lan_if = "br0",
            .lan = read_network("192.168.1.1/24"),
            .wan_if = "eth2.2",
            .addresses = {{"br0", 0xc0a80101}, {"eth2.2", 0x0a000002}}};
}

// The verdict on a packet to the Internet with one rule in FORWARD, which drops.
std::string verdict(const std::string& condition, const std::string& packet) {
    const Netfilter tables = tables_after("iptables -A FORWARD " + condition + " -j DROP\n");
    for (const Netfilter::Refused& line : tables.refused)
        ADD_FAILURE() << line.line << ": " << line.reason;
    return walk_of(tables, home(), packet).verdict_text();
}

struct MatchRow {
    const char* condition;
    const char* packet;
    bool matches;
};

constexpr const char* from_lan = "in=br0 src=192.168.1.33 dst=198.51.100.80 ";

void expect_rows(std::initializer_list<MatchRow> rows) {
    for (const MatchRow& row : rows)
        EXPECT_EQ(verdict(row.condition, std::string(from_lan) + row.packet),
                  row.matches ? "DROP by rule 1 of FORWARD" : "ACCEPT by FORWARD's policy")
            << row.condition << ", " << row.packet;
}

TEST(Matches, InterfacesAndProtocols) {
    expect_rows({
        {"-i br0", "proto=udp dport=1", true},
        {"-i eth2.2", "proto=udp dport=1", false},
        {"-i ! eth2.2", "proto=udp dport=1", true},
        {"-i ! br0", "proto=udp dport=1", false},
        {"! -i br0", "proto=udp dport=1", false},
        {"-i br+", "proto=udp dport=1", true},
        {"-i bra+", "proto=udp dport=1", false},
        {"-i lo", "proto=udp dport=1", false},
        {"-o eth2.2", "proto=udp dport=1", true},
        {"-o br0", "proto=udp dport=1", false},
        {"-o ppp0", "proto=udp dport=1 out=ppp0", true},
        {"-p tcp", "proto=tcp dport=1", true},
        {"-p TCP", "proto=tcp dport=1", true},
        {"-p tcp", "proto=udp dport=1", false},
        {"-p udp", "proto=udp dport=1", true},
        {"-p all", "proto=47", true},
        {"-p gre", "proto=47", true},
        {"-p gre", "proto=50", false},
        {"-p 2", "proto=igmp", true},
        {"-p 2", "proto=icmp", false},
        {"-p ! icmp", "proto=udp dport=1", true},
        {"-p ! icmp", "proto=icmp", false},
    });
}

TEST(Matches, Addresses) {
    expect_rows({
        {"-s 192.168.1.33", "proto=gre", true},
        {"-s 192.168.1.34", "proto=gre", false},
        {"-s 192.168.1.1/24", "proto=gre", true},
        {"-s 192.168.2.0/24", "proto=gre", false},
        {"-s 192.168.1.0/255.255.255.0", "proto=gre", true},
        {"-s 192.168.1.0/255.255.255.224", "proto=gre", false},
        {"-s 0.0.0.0/0", "proto=gre", true},
        {"-d 198.51.100.80", "proto=gre", true},
        {"--dst 198.51.100.80", "proto=gre", true},
        {"-d 198.51.100.81", "proto=gre", false},
        {"-d ! 198.51.100.81", "proto=gre", true},
        {"-d ! 198.51.100.80", "proto=gre", false},
        {"-d 224.0.0.0/3", "proto=gre", false},
        {"-d 192.0.0.0/3", "proto=gre", true},
        {"-m iprange --src-range 192.168.1.30-192.168.1.33", "proto=gre", true},
        {"-m iprange --src-range 192.168.1.34-192.168.1.40", "proto=gre", false},
        {"-m iprange --src-range 192.168.1.33", "proto=gre", true},
        {"-m iprange --src-range 192.168.1.40-192.168.1.30", "proto=gre", false},
        {"-m iprange --dst-range 198.51.100.0-198.51.101.0", "proto=gre", true},
        {"-m iprange --dst-range 198.51.100.81-198.51.101.0", "proto=gre", false},
    });
}

TEST(Matches, Ports) {
    expect_rows({
        {"-p tcp --dport 80", "proto=tcp dport=80", true},
        {"-p tcp --dport 80", "proto=tcp dport=81", false},
        {"-p udp --dport 80", "proto=tcp dport=80", false},
        {"-p tcp --dport ! 80", "proto=tcp dport=80", false},
        {"-p tcp --dport 80:90", "proto=tcp dport=80", true},
        {"-p tcp --dport 80:90", "proto=tcp dport=90", true},
        {"-p tcp --dport 80:90", "proto=tcp dport=91", false},
        {"-p tcp --dport :90", "proto=tcp dport=0", true},
        {"-p tcp --dport 60000:", "proto=tcp dport=65535", true},
        {"-p udp --sport 40000", "proto=udp dport=1 sport=40000", true},
        {"-p udp --sport 40001:50000", "proto=udp dport=1 sport=40000", false},
        // A number with a leading 0 is octal.
        {"-p tcp --dport 0120", "proto=tcp dport=80", true},
        {"-p tcp --dport 0x50", "proto=tcp dport=80", true},
    });
}

TEST(Matches, TcpFlagsAndSegmentSize) {
    expect_rows({
        {"-p tcp --syn", "proto=tcp dport=1 syn", true},
        {"-p tcp --syn", "proto=tcp dport=1 flags=SYN,PSH", true},
        {"-p tcp --syn", "proto=tcp dport=1 flags=SYN,ACK", false},
        {"-p tcp --syn", "proto=tcp dport=1 flags=ACK", false},
        {"-p tcp ! --syn", "proto=tcp dport=1 flags=ACK", true},
        {"-p tcp --syn", "proto=udp dport=1", false},
        {"-p tcp --tcp-flags SYN,RST SYN", "proto=tcp dport=1 flags=SYN,ACK", true},
        {"-p tcp --tcp-flags SYN,RST SYN", "proto=tcp dport=1 flags=SYN,RST", false},
        {"-p tcp --tcp-flags SYN,ACK,RST SYN,ACK", "proto=tcp dport=1 flags=SYN,ACK", true},
        {"-p tcp --tcp-flags SYN,ACK,RST SYN,ACK", "proto=tcp dport=1 flags=SYN", false},
        {"-p tcp --tcp-flags ALL PSH,ACK", "proto=tcp dport=1 flags=PSH,ACK", true},
        {"-p tcp --tcp-flags ALL PSH,ACK", "proto=tcp dport=1 flags=PSH,ACK,FIN", false},
        {"-p tcp --tcp-flags ALL NONE", "proto=tcp dport=1 flags=NONE", true},
        {"-p tcp -m tcpmss --mss 1461:", "proto=tcp dport=1 syn mss=1461", true},
        {"-p tcp -m tcpmss --mss 1461:", "proto=tcp dport=1 syn mss=1460", false},
        {"-p tcp -m tcpmss --mss 1400:1460", "proto=tcp dport=1 syn", true},
        {"-p tcp -m tcpmss --mss 1461:", "proto=tcp dport=1 flags=ACK mss=1461", false},
    });
}

TEST(Matches, IcmpTypesStatesAndMarks) {
    expect_rows({
        {"-p icmp --icmp-type echo-request", "proto=icmp", true},
        {"-p icmp --icmp-type echo-request", "proto=icmp icmp-type=echo-reply", false},
        {"-p icmp --icmp-type 11", "proto=icmp icmp-type=time-exceeded", true},
        {"-p icmp --icmp-type any", "proto=icmp icmp-type=3", true},
        {"-m state --state NEW", "proto=gre", true},
        {"-m state --state NEW", "proto=gre state=established", false},
        {"-m state --state ESTABLISHED,RELATED", "proto=gre state=established", true},
        {"-m state --state ESTABLISHED,RELATED", "proto=gre state=related", true},
        {"-m state --state ESTABLISHED,RELATED", "proto=gre state=invalid", false},
        {"-m state --state INVALID", "proto=gre state=invalid", true},
        {"-m state --state ! NEW", "proto=gre", false},
        {"-m mark --mark 0x2511", "proto=gre mark=9489", true},
        {"-m mark --mark 0x2511", "proto=gre mark=0x2510", false},
        {"-m mark --mark 0x2511", "proto=gre", false},
        {"-m mark --mark 0x10/0xf0", "proto=gre mark=0x2511", true},
        {"-m mark --mark 0x10/0xf0", "proto=gre mark=0x2521", false},
    });
}

TEST(Matches, LinksTextsAndChance) {
    expect_rows({
        {"-m mac --mac-source 02:00:00:00:00:AA", "proto=gre mac-source=02:00:00:00:00:aa", true},
        {"-m mac --mac-source 02:00:00:00:00:AA", "proto=gre mac-source=02:00:00:00:00:ab", false},
        {"-m mac --mac-source 02:00:00:00:00:AA", "proto=gre", false},
        {"-m mac --mac-source ! 02:00:00:00:00:AA", "proto=gre", true},
        {"-m mac --mac-dest ff:ff:ff:ff:ff:ff", "proto=gre mac-dest=FF:FF:FF:FF:FF:FF", true},
        {"-m mac --mac-dest ff:ff:ff:ff:ff:ff", "proto=gre mac-dest=01:00:5e:00:00:01", false},
        {"-m mac --mac-dest ff:ff:ff:ff:ff:ff", "proto=gre", false},
        {"-m string --string casino --algo kmp", "proto=udp dport=1 string=GET+/casino+HTTP", true},
        {"-m string --string casino --algo kmp", "proto=udp dport=1 string=GET+/Casino", false},
        {"-m string --string casino --algo kmp", "proto=udp dport=1", false},
        {"-m string --string -A --algo bm", "proto=udp dport=1 string=ls+-A", true},
        {"-m string --string ! casino --algo kmp", "proto=udp dport=1 string=casino", false},
        {"-m limit --limit 5/s --limit-burst 60", "proto=icmp", true},
        {"-m limit --limit 100/s", "proto=icmp over-limit", false},
        {"-m limit --limit 3/hour", "proto=icmp", true},
        {"-m random", "proto=icmp", true},
        {"-m random", "proto=icmp not-drawn", false},
        {"-p tcp -m tcp --dport 80", "proto=tcp dport=80", true},
    });
}

TEST(Matches, AllConditionsMustHold) {
    expect_rows({
        {"-p tcp --dport 80 -s 192.168.1.33", "proto=tcp dport=80", true},
        {"-p tcp --dport 80 -s 192.168.1.34", "proto=tcp dport=80", false},
        {"-p tcp --dport 81 -s 192.168.1.33", "proto=tcp dport=80", false},
    });
}

TEST(Matches, MissingInformationMakesTheVerdictUnknown) {
    struct Row {
        const char* condition;
        const char* packet;
        const char* open;
    };
    for (const Row& row : {
             Row{"-p udp --sport 53", "in=br0 proto=udp dst=8.8.8.8 dport=53",
                 "it depends on the source port (--sport)"},
             Row{"-p udp --dport 53", "in=br0 proto=udp dst=8.8.8.8",
                 "it depends on the destination port (--dport)"},
             Row{"-s 10.0.0.0/8", "in=br0 proto=udp dst=8.8.8.8",
                 "it depends on the source address (--src)"},
             Row{"-m iprange --src-range 10.0.0.1-10.0.0.9", "in=br0 proto=udp dst=8.8.8.8",
                 "it depends on the source address (--src)"},
             Row{"-p icmp --icmp-type 3", "in=br0 proto=icmp dst=8.8.8.8 state=related",
                 "it depends on the ICMP type (--icmp-type)"},
         })
        EXPECT_EQ(verdict(row.condition, row.packet),
                  std::string("UNKNOWN: rule 1 of FORWARD: ") + row.open);
    // Another condition that does not match decides.
    EXPECT_EQ(verdict("-p udp --sport 53 -d 8.8.4.4", "in=br0 proto=udp dst=8.8.8.8 dport=53"),
              "ACCEPT by FORWARD's policy");
}

TEST(Matches, UnknownOptionsAreNotGuessed) {
    const std::string web = std::string(from_lan) + "proto=tcp dport=80";
    EXPECT_EQ(verdict("-m owner --uid-owner 0", web),
              "UNKNOWN: rule 1 of FORWARD: '-m owner' is an unknown match");
    EXPECT_EQ(verdict("-p tcp --dports 80,81", web),
              "UNKNOWN: rule 1 of FORWARD: '--dports' is an unknown option");
    EXPECT_EQ(verdict("-p tcp --dport http", web),
              "UNKNOWN: rule 1 of FORWARD: '--dport http' is not understood");
    EXPECT_EQ(verdict("-p sctp", web), "UNKNOWN: rule 1 of FORWARD: '-p sctp' is not understood");
    EXPECT_EQ(verdict("-s router.lan", web),
              "UNKNOWN: rule 1 of FORWARD: '-s router.lan' is not understood");
    EXPECT_EQ(verdict("-m iprange --src-range 10.1-10.2", web),
              "UNKNOWN: rule 1 of FORWARD: '--src-range 10.1-10.2' is not understood");
    // A known condition before it may decide.
    EXPECT_EQ(verdict("-p udp -m owner --uid-owner 0", web), "ACCEPT by FORWARD's policy");
}

TEST(Matches, APatternMayMatchFiles) {
    const std::string rule = "-p tcp --dport 80 -m string --string *.exe --algo kmp";
    const std::string packet = std::string(from_lan) + "proto=tcp string=x.exe dport=";
    EXPECT_EQ(verdict(rule, packet + "80"),
              "UNKNOWN: rule 1 of FORWARD: the shell would expand that pattern to file names");
    EXPECT_EQ(verdict(rule, packet + "81"), "ACCEPT by FORWARD's policy");
    EXPECT_EQ(verdict("-m string --string '*.exe' --algo kmp", packet + "80"),
              "ACCEPT by FORWARD's policy");
}

TEST(Rules, RefusedByIptables) {
    struct Row {
        const char* rule;
        const char* reason;
    };
    for (const Row& row : {
             // With an empty setting, an option takes the next option as its argument.
             Row{"-i  -j RETURN", "'RETURN' is not part of an option"},
             Row{"-i !  -j RETURN", "'RETURN' is not part of an option"},
             Row{"-d  -p ! icmp -j ACCEPT", "'-d -p' is invalid"},
             Row{"-d 10.0.0.256 -j ACCEPT", "'-d 10.0.0.256' is invalid"},
             Row{"-s 10.0.0.1/33 -j ACCEPT", "'-s 10.0.0.1/33' is invalid"},
             Row{"-p tcp --dport 70000 -j ACCEPT", "'--dport 70000' is invalid"},
             Row{"-p tcp --dport 90:80 -j ACCEPT", "'--dport 90:80' is invalid"},
             Row{"-p tcp --dport 80-90 -j ACCEPT", "'--dport 80-90' is invalid"},
             Row{"-p tcp --dport 089 -j ACCEPT", "'--dport 089' is invalid"},
             Row{"--dport 80 -j ACCEPT", "--dport without the match or target that it belongs to"},
             Row{"-p all --dport 80 -j ACCEPT",
                 "--dport without the match or target that it belongs to"},
             Row{"-p ! tcp --dport 80 -j ACCEPT",
                 "--dport without the match or target that it belongs to"},
             Row{"-p udp --syn -j ACCEPT", "--syn without the match or target that it belongs to"},
             Row{"-d 10.0 -j ACCEPT", "'-d 10.0' is not understood"},
             Row{"-p 256 -j ACCEPT", "'-p 256' is invalid"},
             Row{"-p t\xe4 -j ACCEPT", "'-p t\xe4' is invalid"},
             Row{"-p tcp -m tcpmss --mss -39: -j TCPMSS --set-mss -40", "'--mss -39:' is invalid"},
             Row{"-j TCPMSS --set-mss -40", "'--set-mss -40' is invalid"},
             Row{"-m mac --mac-source 02:00:00:00:00 -j ACCEPT",
                 "'--mac-source 02:00:00:00:00' is invalid"},
             Row{"-m string --string two words --algo kmp -j DROP",
                 "'words' is not part of an option"},
             Row{"-m string --string word -j DROP", "-m string without --algo"},
             Row{"-m state -j DROP", "-m state without --state"},
             Row{"-m state --state OLD -j DROP", "'--state OLD' is invalid"},
             Row{"-m limit --limit ! 5/s -j DROP", "'--limit !' is invalid"},
             Row{"-m limit ! --limit 5/s -j DROP", "--limit does not take '!'"},
             Row{"! -i ! lo -j DROP", "'!' given twice for -i"},
             Row{"-m iprange --src-range - -j DROP", "'--src-range -' is invalid"},
             Row{"-j LOG --log-prefix 123456789012345678901234567890",
                 "'--log-prefix 123456789012345678901234567890' is invalid"},
             Row{"-j ACCEPT --log-prefix x",
                 "--log-prefix without the match or target that it belongs to"},
             Row{"-p tcp --dport", "--dport needs an argument"},
             Row{"-j DROP !", "nothing follows \"!\""},
         }) {
        const Netfilter tables = tables_after(std::string("iptables -A FORWARD ") + row.rule);
        const bool is_kept = !tables.find("filter", "FORWARD")->rules.empty();
        std::string reason = is_kept ? "" : tables.refused.at(0).reason;
        if (is_kept) reason = read_rule(tables.find("filter", "FORWARD")->rules[0]).unread;
        EXPECT_EQ(reason, row.reason) << row.rule;
        // A word that may be a name is kept, but unread.
        EXPECT_EQ(is_kept, std::string_view(row.reason).ends_with("is not understood")) << row.rule;
    }
}

TEST(Rules, RefusedByIptablesInNat) {
    struct Row {
        const char* rule;
        const char* reason;
    };
    for (const Row& row : {
             Row{"-j DNAT", "-j DNAT without its option"},
             Row{"-j DNAT --to ", "--to needs an argument"},
             Row{"-p udp -j DNAT --to 10.0.0.9\x01x", "'--to 10.0.0.9\x01x' is invalid"},
             Row{"-p tcp -j DNAT --to 10.0.0.9:0", "'--to 10.0.0.9:0' is invalid"},
             Row{"-j DNAT --to 10.0.0.9:80", "a port without -p tcp or -p udp"},
             Row{"-p ! icmp -j DNAT --to-destination 10.0.0.9:80",
                 "a port without -p tcp or -p udp"},
             Row{"-j SNAT --to-destination 10.0.0.9",
                 "--to-destination without the match or target that it belongs to"},
             Row{"-p tcp -j DNAT --to :80", ""},
             Row{"-p tcp -j DNAT --to 10.0.0.9:80", ""},
             Row{"-p ! icmp -j DNAT --to 10.0.0.9", ""},
             Row{"-j SNAT --to-source 10.0.0.9", ""},
             Row{"-j MASQUERADE", ""},
         }) {
        const Netfilter tables =
            tables_after(std::string("iptables -t nat -A PREROUTING ") + row.rule);
        EXPECT_EQ(tables.refused.empty() ? "" : tables.refused[0].reason, row.reason) << row.rule;
    }
}

}  // namespace
