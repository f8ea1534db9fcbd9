// A packet's way through the packet filter: which chains it enters, which rules it meets, and which
// one decides.
#ifndef RC_PLAN_NETFILTER_PACKET_WALK_H
#define RC_PLAN_NETFILTER_PACKET_WALK_H

#include <optional>
#include <string>
#include <vector>

#include "plan/netfilter/netfilter.h"
#include "plan/netfilter/networks.h"
#include "plan/netfilter/packet.h"

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

Walk walk_packet(const Netfilter& tables, const Networks& networks, const Packet& packet);

#endif
