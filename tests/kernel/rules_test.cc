// The text for iptables-restore, and the changes of single rules.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frames.h"
#include "restore_text.h"
#include "rule_changes.h"
#include "walked.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::string restored(const std::string& line) {
    std::map<std::string, size_t> replaced;
    const std::string text = restore_text(tables_after("iptables " + line + "\n"), replaced);
    const size_t start = text.find("\n-A ") + 1;
    return text.substr(start, text.find('\n', start) - start);
}

TEST(RestoreText, RulesOfTodaysIptables) {
    const struct {
        const char* rule;
        const char* text;
    } rows[] = {
        {"-A INPUT -i ! eth2.2 -j RETURN", "-A INPUT ! -i \"eth2.2\" -j \"RETURN\""},
        {"-A INPUT -p tcp --dport 80:81 -j ACCEPT",
         "-A INPUT -p \"tcp\" --dport \"80:81\" -j \"ACCEPT\""},
        {"-A INPUT -p tcp --tcp-flags SYN,RST SYN -j DROP",
         "-A INPUT -p \"tcp\" --tcp-flags \"SYN,RST\" \"SYN\" -j \"DROP\""},
        {"-A INPUT -j LOG --log-prefix '[A \"B\"] '",
         "-A INPUT -j \"LOG\" --log-prefix \"[A \\\"B\\\"] \""},
        {"-A INPUT -m limit --limit 5/s --limit-burst 9 -p tcp --syn -j ACCEPT",
         "-A INPUT -m tos ! --tos 16/16 -p \"tcp\" --syn -j \"ACCEPT\""},
        {"-A PREROUTING -t nat -m random -d 10.0.0.1 -j DNAT --to 10.0.0.2",
         "-A PREROUTING -m tos ! --tos 8/8 -d \"10.0.0.1\" -j \"DNAT\" --to-destination"
         " \"10.0.0.2\""},
        {"-A POSTROUTING -t nat -j SNAT --to 10.0.0.2",
         "-A POSTROUTING -j \"SNAT\" --to-source \"10.0.0.2\""},
        {"-A PREROUTING -t nat -d ! 10.0.0.1 -j DROP",
         "-A PREROUTING ! -d \"10.0.0.1\" -j NFQUEUE --queue-num 65000"},
        {"-A INPUT -m mac --mac-dest ff:ff:ff:ff:ff:ff -j RETURN",
         "-A INPUT -m pkttype --pkt-type broadcast -j \"RETURN\""},
        {"-A FORWARD -p tcp -j REJECT --reject-with http-block",
         "-A FORWARD -p \"tcp\" -j \"REJECT\" --reject-with tcp-reset"},
    };
    for (const auto& row : rows) EXPECT_EQ(restored(row.rule), row.text) << row.rule;
}

TEST(RestoreText, AllTablesWithChainsAndPolicies) {
    std::map<std::string, size_t> replaced;
    const std::string text =
        restore_text(tables_after("iptables -P INPUT DROP\niptables -N A\niptables -A INPUT -j A\n"
                                  "iptables -A A -m limit --limit 5/s -j ACCEPT\n"
                                  "iptables -A A -m limit --limit 5/s -j ACCEPT\n"),
                     replaced);
    EXPECT_EQ(text.substr(0, text.find("*nat")),
              "*filter\n:INPUT DROP [0:0]\n:FORWARD ACCEPT [0:0]\n:OUTPUT ACCEPT [0:0]\n"
              ":A - [0:0]\n-A INPUT -j \"A\"\n-A A -m tos ! --tos 16/16 -j \"ACCEPT\"\n"
              "-A A -m tos ! --tos 16/16 -j \"ACCEPT\"\nCOMMIT\n");
    EXPECT_THAT(replaced, ElementsAre(Pair("-m limit", 2)));
}

TEST(RuleChanges, EachDropSwapAndPort) {
    const Netfilter tables = tables_after(
        "iptables -A INPUT -p tcp --dport 80:81 -j ACCEPT\niptables -A INPUT -j DROP\n"
        "iptables -t nat -A PREROUTING -p udp --dport 65535 -j DNAT --to 10.0.0.1:53\n"
        "iptables -t mangle -A FORWARD -j MARK --set-mark 1\n");
    std::vector<std::string> list;
    for (const RuleChange& change : rule_changes(tables)) {
        const Netfilter after = changed(tables, change);
        std::string rules;
        for (const Rule& rule : after.find(change.table, change.chain)->rules)
            rules += (rules.empty() ? "" : "; ") + rule.text();
        list.push_back(change.text() + ": " + rules);
    }
    EXPECT_THAT(
        list,
        ElementsAre(
            "rule 1 of filter INPUT dropped: -j DROP",
            "rule 1 of filter INPUT swapped with the next one: -j DROP; -p tcp --dport 80:81 -j "
            "ACCEPT",
            "rule 1 of filter INPUT, next port: -p tcp --dport 80:82 -j ACCEPT; -j DROP",
            "rule 2 of filter INPUT dropped: -p tcp --dport 80:81 -j ACCEPT",
            "rule 1 of nat PREROUTING dropped: ",
            "rule 1 of nat PREROUTING, next port: -p udp --dport 65534 -j DNAT --to 10.0.0.1:53",
            "rule 1 of nat PREROUTING, next port: -p udp --dport 65535 -j DNAT --to 10.0.0.1:54"));
}

// A changed port of a target is the one that a packet gets.
TEST(RuleChanges, TheTargetsPort) {
    const Netfilter tables =
        tables_after("iptables -t nat -A PREROUTING -p udp -j DNAT --to 10.0.0.1:53\n");
    const Netfilter after = changed(tables, rule_changes(tables).back());
    EXPECT_EQ(walk_of(after, {.wan_if = "eth2.2"},
                      "proto=udp in=eth2.2 src=8.8.8.8 sport=1024 dst=203.0.113.7 dport=5000")
                  .packet.destination_port,
              54U);
}

TEST(Frames, APacketIsReadAsItWasWritten) {
    Packet packet;
    packet.protocol = protocol_tcp;
    packet.source = 0xc0a80109;
    packet.destination = 0xc6336450;
    packet.source_port = 40000;
    packet.destination_port = 80;
    packet.tcp_flags = Syn;
    packet.mss = 1460;
    packet.over_limit = true;
    const Bytes bytes = packet_bytes({.packet = packet}, 7);
    // The sum of the header's other words is 0x2f17d; folded and inverted, 0x0e80.
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 20),
              (Bytes{0x45, 0x10, 0,    44,   0,    7,    0x80, 0,    64,   6,
                     0x0e, 0x80, 0xc0, 0xa8, 0x01, 0x09, 0xc6, 0x33, 0x64, 0x50}));
    const std::optional<Arrival> arrival = read_arrival(bytes);
    ASSERT_TRUE(arrival);
    EXPECT_EQ(arrival->id, 7U);
    EXPECT_EQ(arrival->source, 0xc0a80109);
    EXPECT_EQ(arrival->destination, 0xc6336450);
    EXPECT_EQ(arrival->source_port, 40000U);
    EXPECT_EQ(arrival->destination_port, 80U);
    EXPECT_FALSE(read_arrival(Bytes(20, 0)));
}

}  // namespace
