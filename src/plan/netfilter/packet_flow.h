// All packets that enter by one interface in one state, walked through the tables as sets: which
// rules take which of them.
#ifndef RC_PLAN_NETFILTER_PACKET_FLOW_H
#define RC_PLAN_NETFILTER_PACKET_FLOW_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/netfilter/netfilter.h"
#include "plan/netfilter/networks.h"
#include "plan/netfilter/packet_set.h"

// A rule of a chain, or, with number 0, its policy.
struct RulePlace {
    const Chain* chain = nullptr;
    size_t number = 0;  // from 1

    const Rule* rule() const { return number > 0 ? &chain->rules[number - 1] : nullptr; }
    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes the comparison's 0 for a pointer.
    friend auto operator<=>(const RulePlace&, const RulePlace&) = default;
};

// Packets that the rules have treated alike so far.
struct Flow {
    PacketSet packets = {};  // as they arrived
    // Set by DNAT; such packets have all the same ones.
    std::optional<Ipv4> destination = {};
    std::optional<unsigned> port = {};
    std::optional<RulePlace> translated_by = {};
    unsigned mark = 0;
};

// Where packets end.
struct Fate {
    Flow flow;
    bool accepted = false;
    RulePlace by;
    // The interface by which they leave; empty if they are for the router itself.
    std::string out = {};
};

// The place by which packets enter; an empty interface is the router itself.
struct Entry {
    std::string in;
    ConnectionState state = ConnectionState::New;
};

// What the rules do with the packets that they ask for.
struct RuleUse {
    // The rules that packets have reached and matched.
    std::set<RulePlace> met = {};
    // The rules whose packets are to be followed. Rules of one chain may be watched together: each
    // with the one that stands for all of them.
    std::map<RulePlace, RulePlace> watched = {};
    // By that one, who takes their packets before: packets that a watched rule asks for, and that
    // another rule or a policy decided first.
    struct Taking {
        RulePlace by;
        bool accepted = false;
        PacketSet packets = {};
    };
    std::map<RulePlace, std::vector<Taking>> taken = {};
};

// The conditions of all rules of some tables, which must stay.
class FlowRules {
  public:
    explicit FlowRules(const Netfilter& tables);
    FlowRules(const FlowRules&) = delete;
    FlowRules& operator=(const FlowRules&) = delete;

    const Netfilter& tables() const { return tables_; }
    const std::vector<Condition>& conditions_of(const Rule& rule) const {
        return conditions_.at(&rule);
    }
    // Of the marks that all rules treat alike, one and the same.
    unsigned mark_like(unsigned mark) const;

  private:
    const Netfilter& tables_;
    std::map<const Rule*, std::vector<Condition>> conditions_;
    std::vector<FieldTest> mark_tests_;
    std::vector<unsigned> marks_ = {0};
};

// Why the rules cannot be followed: a line or rule that is not understood here; empty if all are.
std::string not_followed(const Netfilter& tables);

// `packets` limits those that enter. All rules must be understood.
std::vector<Fate> walk_flows(const FlowRules& rules, const Networks& networks,
                             const PacketSpace& space, const Entry& entry, const PacketSet& packets,
                             RuleUse& use);

// The packets with one of the router's own addresses, as Networks::is_own.
PacketSet own_addresses(const PacketSpace& space, const Networks& networks, Field field);

// Those with an address that the kernel's routing does not accept from a link in this field. The
// sources are those of frames to the router's own MAC address: hosts without an address broadcast.
PacketSet unroutable(const PacketSpace& space, const Networks& networks, Field field);

#endif
