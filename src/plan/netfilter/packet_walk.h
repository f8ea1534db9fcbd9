// A packet's walk through the packet filter: the chains it enters, the rules it is compared with,
// and the one that decides.
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
    // The chain that is entered, or the chain of the rule or policy.
    std::string table = {};
    std::string chain = {};
    // The rule's number in the chain, from 1.
    size_t number = 0;
    std::optional<Rule> rule = {};
    // The effect of the step; for a note, its text.
    std::string effect = {};
};

enum class Verdict { Accept, Drop, Unknown };

// A rule or, with number 0, a chain's policy.
struct Decision {
    std::string table;
    std::string chain;
    size_t number = 0;
    std::optional<Rule> rule = {};
    // The line of the transcript; nullopt for a policy that no line has set.
    std::optional<Origin> origin = {};
    // The rules that jump from the built-in chain to this one, in order.
    std::vector<Decision> jumps = {};

    // "rule 3 of IN_FILTER", "FORWARD's policy"; a name used in several tables gets its table's.
    std::string text() const;
};

struct Walk {
    std::vector<WalkStep> steps;
    // Assumptions made during the walk, each once.
    std::vector<std::string> assumptions;
    Verdict verdict = Verdict::Unknown;
    std::optional<Decision> decision;
    // Why the verdict is unknown.
    std::string unknown_reason;
    // Why the kernel drops the packet before the filter sees it.
    std::string misrouted;
    // The rules that changed the destination and the source, and that marked the packet.
    std::optional<Decision> destination_nat;
    std::optional<Decision> source_nat;
    std::optional<Decision> marked;
    // The packet after the walk.
    Packet packet;

    // One line: "ACCEPT by rule 3 of IN_FILTER, to 192.168.1.5:80 (DNAT by rule 1 of VS)".
    std::string verdict_text() const;
};

Walk walk_packet(const Netfilter& tables, const Networks& networks, const Packet& packet);

#endif
