// What `iptables -L -n -v -x` of several versions prints, read as rules.

#include "plan/netfilter/listed_rules.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "plan/netfilter/rule_listing.h"
#include "plan/router/shell_script.h"
#include "walked.h"

namespace {

std::string first_rule(const Netfilter& tables) {
    for (const Chain& chain : tables.chains)
        for (const Rule& rule : chain.rules) return canonical_text(rule);
    ADD_FAILURE() << (tables.refused.empty() ? "no rule" : tables.refused[0].reason);
    return "";
}

// Of a rule that a script of rc's makes, and of a line of a listing. "PF" is a chain of its own.
std::string made_rule(const std::string& table, const std::string& rule) {
    const std::string start = "iptables -t " + table;
    return first_rule(tables_after(start + " -N PF\n" + start + " -A OUTPUT " + rule + "\n"));
}

std::string listed_rule(const std::string& table, const std::string& line) {
    const std::string text = "Chain OUTPUT (policy ACCEPT 0 packets, 0 bytes)\n" + line +
                             "\n\nChain PF (1 references)\n";
    return first_rule(read_listed_rules({{table, text}}).tables);
}

struct Row {
    const char* table;
    const char* line;
    const char* rule;
};

void expect_rules(std::span<const Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(listed_rule(row.table, row.line), made_rule(row.table, row.rule)) << row.line;
}

TEST(ListedRules, Columns) {
    const Row rows[] = {
        {"filter",
         "  0 0 ACCEPT     all  --  *      *       0.0.0.0/0            0.0.0.0/0           ",
         "-j ACCEPT"},
        {"filter",
         "  0 0 ACCEPT     0    --  *      *       0.0.0.0/0            0.0.0.0/0           ",
         "-j ACCEPT"},
        {"filter",
         "  7 9 PF         tcp  --  br0    eth2.2  10.0.0.0/8           192.168.1.9         ",
         "-p tcp -i br0 -o eth2.2 -s 10.0.0.0/8 -d 192.168.1.9 -j PF"},
        {"filter",
         "  0 0 DROP      !tcp  --  !eth0  !ppp+  !192.168.1.0/24      !10.0.0.0/255.0.255.0",
         "-p ! tcp -i ! eth0 -o ! ppp+ -s ! 192.168.1.0/24 -d ! 10.0.0.0/255.0.255.0 -j DROP"},
        {"filter", "  0 0 DROP       ! tcp  --  ! eth0  *  ! 192.168.1.0/24      0.0.0.0/0",
         "-p ! tcp -i ! eth0 -s ! 192.168.1.0/24 -j DROP"},
        {"filter", "  0 0 DROP       47   --  *      *       0.0.0.0/0            0.0.0.0/0",
         "-p gre -j DROP"},
        // No target.
        {"filter", "  0 0            all  --  lo     *       0.0.0.0/0            0.0.0.0/0",
         "-i lo"},
        {"filter", "  0 0           !6    --  !eth0  *      !192.168.1.0/24       10.0.0.0/8 ",
         "-p ! tcp -i ! eth0 -s ! 192.168.1.0/24 -d 10.0.0.0/8"},
        {"filter", "  0 0 DROP       all  -f  *      *       0.0.0.0/0            0.0.0.0/0",
         "-f -j DROP"},
        {"filter", "  0 0 DROP       all  !f  *      *       0.0.0.0/0            0.0.0.0/0",
         "! -f -j DROP"},
        {"filter",
         "  0 0 PF         all  --  *      *       0.0.0.0/0            0.0.0.0/0           [goto] ",
         "-g PF"},
        {"nat",
         "  0 0 MASQUERADE  all  --  *      eth2.2  0.0.0.0/0            0.0.0.0/0           ",
         "-o eth2.2 -j MASQUERADE"},
        // A counter that has filled its column.
        {"filter", "18446744073 9223372036854775807 DROP tcp -- * * 0.0.0.0/0 0.0.0.0/0",
         "-p tcp -j DROP"},
    };
    expect_rules(rows);
}

// The part behind the columns; version 1.3 ends it with a blank, later ones begin it with one more.
void expect_remarks(std::string_view protocol, std::span<const Row> rows) {
    for (const Row& row : rows) {
        std::string target = row.rule;
        const size_t jump = target.find("-j ");
        target = jump == std::string::npos ? "" : target.substr(jump + 3);
        target = target.substr(0, target.find(' '));
        const std::string line = "       0        0 " + target + "  " + std::string(protocol) +
                                 "  --  *      *       0.0.0.0/0            0.0.0.0/0           ";
        EXPECT_EQ(listed_rule(row.table, line + row.line), made_rule(row.table, row.rule))
            << row.line;
    }
}

TEST(ListedRules, TcpAndUdp) {
    const Row rows[] = {
        {"filter", "tcp dpt:80 ", "-p tcp --dport 80 -j ACCEPT"},
        {"filter", " tcp dpt:80", "-p tcp --dport 80 -j ACCEPT"},
        {"filter", "tcp spt:80 dpt:!81 ", "-p tcp --sport 80 --dport ! 81 -j ACCEPT"},
        {"filter", "tcp spts:1:2 dpts:!3:65535 ", "-p tcp --sport 1:2 --dport ! 3:65535 -j ACCEPT"},
        {"filter", "tcp flags:0x06/0x02 ", "-p tcp --tcp-flags SYN,RST SYN -j ACCEPT"},
        {"filter", "tcp flags:0x17/0x02 ", "-p tcp --syn -j ACCEPT"},
        {"filter", "tcp flags:0x16/0x02 ", "-p tcp --tcp-flags SYN,ACK,RST SYN -j ACCEPT"},
        {"filter", "tcp dpt:80 flags:0x3F/0x18 ",
         "-p tcp --dport 80 --tcp-flags ALL PSH,ACK -j ACCEPT"},
        {"filter", "tcp flags:0x3F/0x00 ", "-p tcp --tcp-flags ALL NONE -j ACCEPT"},
        {"filter", "tcp flags:!0x17/0x02 ", "-p tcp ! --syn -j ACCEPT"},
    };
    expect_remarks("tcp ", rows);
    const Row udp[] = {
        {"filter", "udp dpt:53 ", "-p udp --dport 53 -j DROP"},
        {"filter", "udp spts:1024:65535 ", "-p udp --sport 1024: -j DROP"},
    };
    expect_remarks("17  ", udp);
}

TEST(ListedRules, Matches) {
    const Row icmp[] = {
        {"filter", "icmp type 8 ", "-p icmp --icmp-type echo-request -j DROP"},
        {"filter", " icmptype 8", "-p icmp --icmp-type 8 -j DROP"},
        {"filter", " icmp !type 8", "-p icmp --icmp-type ! 8 -j DROP"},
        {"filter", "icmp type 255 ", "-p icmp -j DROP"},
        {"filter", "icmp type 8 limit: avg 5/sec burst 10 ",
         "-p icmp --icmp-type echo-request -m limit --limit 5/s --limit-burst 10 -j RETURN"},
    };
    expect_remarks("icmp", icmp);
    const Row any[] = {
        {"filter", "state NEW ", "-m state --state NEW -j DROP"},
        {"filter", "state RELATED,ESTABLISHED ", "-m state --state ESTABLISHED,RELATED -j ACCEPT"},
        {"filter", " ! state NEW", "-m state --state ! NEW -j DROP"},
        {"filter", "MAC 02:00:00:00:AA:01 ", "-m mac --mac-source 02:00:00:00:aa:01 -j DROP"},
        {"filter", " MAC02:00:00:00:aa:01", "-m mac --mac-source 02:00:00:00:aa:01 -j DROP"},
        {"filter", " MACAA:00:00:00:aa:01", "-m mac --mac-source aa:00:00:00:aa:01 -j DROP"},
        {"filter", "MAC ! 02:00:00:00:AA:01 ", "-m mac --mac-source ! 02:00:00:00:aa:01 -j DROP"},
        {"filter", "MAC FF:FF:FF:FF:FF:FF ", "-m mac --mac-dest ff:ff:ff:ff:ff:ff -j RETURN"},
        {"filter", "limit: avg 5/sec burst 5 ", "-m limit --limit 5/s -j RETURN"},
        {"filter", "limit: avg 1/day burst 7 ", "-m limit --limit 1/d --limit-burst 7 -j RETURN"},
        {"filter", "MARK match 0x1 ", "-m mark --mark 1 -j ACCEPT"},
        {"filter", "MARK match !0x1 ", "-m mark --mark ! 1 -j ACCEPT"},
        {"filter", " mark match 0x1", "-m mark --mark 1 -j ACCEPT"},
        {"filter", " mark match ! 0x1/0xff", "-m mark --mark ! 1/0xff -j ACCEPT"},
        {"filter", "source IP range 192.168.1.4-192.168.1.9 ",
         "-m iprange --src-range 192.168.1.4-192.168.1.9 -j DROP"},
        {"filter", "destination IP range ! 1.2.3.4-1.2.3.4 ",
         "-m iprange --dst-range ! 1.2.3.4 -j DROP"},
        {"filter", "STRING match \"casino\" ALGO name kmp TO 65535 ",
         "-m string --string casino --algo kmp -j DROP"},
        {"filter", "STRING match casino ALGO name kmp TO 65535 ",
         "-m string --string casino --algo kmp -j DROP"},
        {"filter", " STRING match  \"a \\\"b\\\\\" ALGO name bm",
         "-m string --string 'a \"b\\' --algo bm -j DROP"},
        {"filter", " STRING match ! \"state NEW\" ALGO name bm",
         "-m string ! --string 'state NEW' --algo bm -j DROP"},
        {"nat", "random 50% to:192.0.2.7 ", "-m random -j DNAT --to 192.0.2.7"},
        {"nat", " statistic mode random probability 0.50000000000 to:192.0.2.7",
         "-m random -j DNAT --to 192.0.2.7"},
    };
    expect_remarks("all ", any);
    const Row tcp[] = {
        {"filter", "tcp flags:0x06/0x02 tcpmss match 1361:65535 TCPMSS set 1360 ",
         "-p tcp --tcp-flags SYN,RST SYN -m tcpmss --mss 1361: -j TCPMSS --set-mss 1360"},
        {"filter", "tcpmss match !1400:1536 ", "-p tcp -m tcpmss --mss ! 1400:1536 -j DROP"},
        {"filter", "tcpmss match 1400 ", "-p tcp -m tcpmss --mss 1400 -j DROP"},
    };
    expect_remarks("tcp ", tcp);
}

TEST(ListedRules, Targets) {
    const Row any[] = {
        {"filter", "LOG flags 0 level 4 ", "-j LOG"},
        {"filter", "LOG flags 0 level 4 prefix `[DOS] ' ", "-j LOG --log-prefix \"[DOS] \""},
        {"filter", " LOG flags 0 level 1 prefix \"[DOS] \"",
         "-j LOG --log-level 1 --log-prefix \"[DOS] \""},
        {"filter", " LOG flags 0 level 4 prefix \"say \"to: x\"",
         "-j LOG --log-prefix 'say \"to: x'"},
        {"filter", "reject-with icmp-port-unreachable ", "-j REJECT"},
        {"filter", "reject-with icmp-net-prohibited ",
         "-j REJECT --reject-with icmp-net-prohibited"},
        {"nat", "to:192.0.2.7 ", "-j DNAT --to 192.0.2.7"},
        {"nat", "to:192.0.2.7 ", "-j SNAT --to-source 192.0.2.7"},
        {"mangle", "MARK set 0x14 ", "-j MARK --set-mark 20"},
        {"mangle", " MARK xset 0x14/0xffffffff", "-j MARK --set-mark 20"},
        {"mangle", "TTL set to 64 ", "-j TTL --ttl-set 64"},
        {"mangle", "TTL increment by 1 ", "-j TTL --ttl-inc 1"},
    };
    expect_remarks("all ", any);
    const Row tcp[] = {
        {"filter", "tcp dpt:80 reject-with tcp-reset ",
         "-p tcp --dport 80 -j REJECT --reject-with tcp-reset"},
        {"filter", "tcp dpt:80 reject-with http-block ",
         "-p tcp --dport 80 -j REJECT --reject-with http-block"},
        {"nat", "tcp dpts:8000:8009 to:192.168.1.9:80 ",
         "-p tcp --dport 8000:8009 -j DNAT --to-destination 192.168.1.9:80"},
        {"filter", "tcp flags:0x06/0x02 TCPMSS clamp to PMTU ",
         "-p tcp --tcp-flags SYN,RST SYN -j TCPMSS --clamp-mss-to-pmtu"},
    };
    expect_remarks("tcp ", tcp);
}

// Shown as it is listed, rather than left out.
TEST(ListedRules, WhatIsNotUnderstoodStays) {
    const char* const remarks[] = {
        "tcp option=!5 ",
        "PHYSDEV match --physdev-in eth0",
        "random 20% ",
        "statistic mode random probability 0.55000000000",
        "LOG flags 2 level 4 prefix `x' ",
        "tcp flags:0x80/0x80 ",
        "/* state NEW */",
    };
    for (const char* const remark : remarks) {
        const std::optional<ListedRule> rule =
            read_listed_rule(std::string("0 0 LOG tcp -- * * 0.0.0.0/0 0.0.0.0/0 ") + remark);
        ASSERT_TRUE(rule) << remark;
        EXPECT_NE(std::ranges::count(rule->words, "LOG"), 0) << remark;
        EXPECT_NE(
            listed_rule("filter", std::string("0 0 LOG tcp -- * * 0.0.0.0/0 0.0.0.0/0 ") + remark),
            made_rule("filter", "-p tcp -j LOG"))
            << remark;
    }
}

TEST(ListedRules, LinesThatAreNotRules) {
    const char* const lines[] = {
        "",
        "   ",
        "Chain INPUT (policy ACCEPT 0 packets, 0 bytes)",
        "    pkts      bytes target     prot opt in     out     source               destination         ",
        "0 0 ACCEPT all -- * *",
        "0 0 ACCEPT all ** * * 0.0.0.0/0 0.0.0.0/0",
        "x 0 ACCEPT all -- * * 0.0.0.0/0 0.0.0.0/0",
        "-1 0 ACCEPT all -- * * 0.0.0.0/0 0.0.0.0/0",
        "! ! ! ! ! ! ! ! ! ! !",
        "iptables v1.3.8: can't initialize iptables table `mangle': Module is unknown",
    };
    for (const char* const line : lines) EXPECT_FALSE(read_listed_rule(line)) << line;
}

TEST(ListedRules, ChainsPoliciesAndCounters) {
    const SavedRules rules = read_listed_rules(
        {{"filter",
          "Chain INPUT (policy DROP 5 packets, 300 bytes)\n"
          "    pkts      bytes target     prot opt in     out     source               destination         \n"
          "      12      720 PF         all  --  *      *       0.0.0.0/0            0.0.0.0/0           \n"
          "\n"
          "Chain FORWARD (policy ACCEPT)\n"
          "\n"
          "Chain PF (1 references)\n"
          "    pkts      bytes target     prot opt in     out     source               destination         \n"
          "       3      180 DROP       all  --  *      *       0.0.0.0/0            0.0.0.0/0           \n"},
         {"nat", "Chain PF (0 references)\n"}});
    EXPECT_EQ(rules.tables.refused.size(), 0U);
    EXPECT_EQ(rules.tables.find("filter", "INPUT")->policy, "DROP");
    EXPECT_EQ(rules.tables.find("filter", "FORWARD")->policy, "ACCEPT");
    ASSERT_TRUE(rules.tables.find("filter", "PF") && rules.tables.find("nat", "PF"));
    EXPECT_EQ(rules.tables.find("filter", "PF")->rules.size(), 1U);
    EXPECT_EQ(rules.packets.at({"filter", "INPUT"}), std::vector<unsigned long long>{12});
    EXPECT_EQ(rules.packets.at({"filter", "PF"}), std::vector<unsigned long long>{3});
}

}  // namespace
