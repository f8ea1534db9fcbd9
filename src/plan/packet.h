// A packet's way through the packet filter: which chains it enters, which rules it meets, and which
// one decides.
#ifndef RC_PLAN_PACKET_H
#define RC_PLAN_PACKET_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "plan/netfilter.h"
#include "plan/packet_values.h"

enum class ConnectionState { New, Established, Related, Invalid };

constexpr unsigned protocol_icmp = 1;
constexpr unsigned protocol_tcp = 6;
constexpr unsigned protocol_udp = 17;

// What is not stated is unknown, unless its comment says otherwise. A rule that asks for what is
// unknown leaves the verdict open.
struct Packet {
    std::string in;   // empty: the router itself sends it
    std::string out;  // empty: it is routed
    unsigned protocol = 0;
    std::optional<Ipv4> source;
    std::optional<Ipv4> destination;
    std::optional<unsigned> source_port;
    std::optional<unsigned> destination_port;
    ConnectionState state = ConnectionState::New;
    std::optional<unsigned> tcp_flags;
    std::optional<unsigned> icmp_type;
    std::optional<std::string> mac_source;  // not stated: one that no rule names
    std::optional<std::string> mac_dest;    // not stated: the router's own
    std::optional<unsigned> mss;            // what a SYN announces; not stated: an Ethernet's, 1460
    std::optional<std::string> payload;     // not stated: nothing that a rule looks for
    unsigned mark = 0;
    // The circumstances: beyond each rule's limit; not drawn where a rule leaves it to chance.
    bool over_limit = false;
    bool not_drawn = false;
};

// Whether a rule matches, or one of its conditions.
enum class Answer { No, Yes, Unknown };
struct MatchAnswer {
    Answer answer = Answer::No;
    // What was taken for granted, or for Unknown what is missing.
    std::string remark = {};
};

// The router's place in its networks.
struct Surroundings {
    std::string lan_if = {};
    std::optional<Network> lan = {};
    std::string wan_if = {};
    // The router's own addresses by interface.
    std::map<std::string, Ipv4> addresses = {};

    // Addresses that the router takes for itself: its own, loopback, broadcasts.
    bool is_own(Ipv4 address) const;
    // The interface that leads there.
    const std::string& way_to(Ipv4 address) const;
};

// As the settings of the working copy and the stated interfaces say.
Surroundings surroundings_of(const World& world);

struct WalkStep {
    enum class Kind { Chain, Rule, Policy, Note };
    Kind kind = Kind::Note;
    int depth = 0;
    // The chain that is entered, or that the rule or policy belongs to.
    std::string table = {};
    std::string chain = {};
    // Of a rule: its place in the chain, from 1.
    size_t number = 0;
    std::optional<Rule> rule = {};
    // What comes of it; of a note, the note.
    std::string effect = {};
};

enum class Verdict { Accept, Drop, Unknown };

// A rule or, with number 0, a chain's policy.
struct Decision {
    std::string table;
    std::string chain;
    size_t number = 0;
    std::optional<Rule> rule = {};
    // The line of the transcript; a policy that nothing has set has none.
    std::optional<Origin> origin = {};

    // "rule 3 of IN_FILTER", "FORWARD's policy"; chains of the same name are told apart.
    std::string text() const;
};

struct Walk {
    std::vector<WalkStep> steps;
    // What was taken for granted on the way, once each.
    std::vector<std::string> assumptions;
    Verdict verdict = Verdict::Unknown;
    std::optional<Decision> decision;
    // Why the verdict is unknown.
    std::string open;
    // Why the kernel drops the packet before the filter sees it.
    std::string misrouted;
    // What changed the destination and the source, and what marked it.
    std::optional<Decision> destination_nat;
    std::optional<Decision> source_nat;
    std::optional<Decision> marked;
    // The packet as it goes on.
    Packet packet;

    // One line: "ACCEPT by rule 3 of IN_FILTER, to 192.168.1.5:80 (DNAT by rule 1 of VS)".
    std::string verdict_text() const;
};

// The names of iptables: "NEW".
const char* state_name(ConnectionState state);

Walk walk_packet(const Netfilter& tables, const Surroundings& surroundings, const Packet& packet);

#endif
