// Walks sets of packets through the tables in the kernel's order, as packet_walk.cc walks one.

#include "plan/netfilter/packet_flow.h"

#include <algorithm>

namespace {

class FlowWalker {
  public:
    FlowWalker(const FlowRules& rules, const Networks& networks, const PacketSpace& space,
               const Entry& entry, RuleUse& use)
        : rules_(rules),
          tables_(rules.tables()),
          networks_(networks),
          space_(space),
          entry_(entry),
          use_(use) {}
    std::vector<Fate> walk(const PacketSet& packets);

  private:
    const FlowRules& rules_;
    const Netfilter& tables_;
    const Networks& networks_;
    const PacketSpace& space_;
    const Entry& entry_;
    RuleUse& use_;
    std::vector<Fate> fates_;
    // The interface by which the packets leave, once it is known.
    std::string out_;

    // The packets that a built-in chain has accepted, by whom.
    struct Accepted {
        Flow flow;
        RulePlace by;
    };
    std::vector<Accepted> accepted_;
    // Watched rules that the present packets have yet to reach.
    struct Watch {
        RulePlace rule;
        PacketSet eligible;
    };
    std::vector<Watch> watches_;

    std::vector<Accepted> pass(const char* table, const char* chain,
                               const std::vector<Flow>& flows);
    std::vector<Flow> pass_on(const char* table, const char* chain, const std::vector<Flow>& flows);
    std::vector<Flow> translate(const char* chain, const std::vector<Flow>& flows);
    void leave(const std::string& out, const std::vector<Flow>& flows);
    void deliver(const std::vector<Flow>& flows);
    std::vector<Flow> traverse(const Chain& chain, std::vector<Flow> flows, int depth);
    void meet(RulePlace where, Flow part, int depth, std::vector<Flow>& next,
              std::vector<Flow>& returned);
    void decide(Flow flow, bool accepts, RulePlace by);
    void note_taking(const Flow& flow, bool accepts, RulePlace by, const Chain* only);

    PacketSet asked_for(const Rule& rule, const Flow& flow) const;
    PacketSet passing(const Condition& condition, const Flow& flow) const;
    void watch(const Chain& chain, const Flow& flow, const PacketSet& so_far, int depth);
};

// The same treatment of the same packets is one flow.
std::vector<Flow> merged(std::vector<Flow> flows) {
    std::vector<Flow> result;
    for (Flow& flow : flows) {
        const auto same = std::ranges::find_if(result, [&](const Flow& other) {
            return other.destination == flow.destination && other.port == flow.port &&
                   other.translated_by == flow.translated_by && other.mark == flow.mark;
        });
        if (same == result.end())
            result.push_back(std::move(flow));
        else
            same->packets = same->packets | flow.packets;
    }
    return result;
}

Flow with_packets(const Flow& flow, PacketSet packets) {
    Flow part = flow;
    part.packets = std::move(packets);
    return part;
}

PacketSet all_or_none(bool holds) {
    return holds ? PacketSet::everything() : PacketSet();
}

PacketSet FlowWalker::passing(const Condition& condition, const Flow& flow) const {
    const FieldTest& test = condition.test;
    const auto set = [&]() -> PacketSet {
        switch (test.field) {
            case Field::In:
                return all_or_none(test.holds_interface(entry_.in));
            case Field::Out:
                return all_or_none(test.holds_interface(out_));
            case Field::State:
                return all_or_none(test.holds(state_bit(entry_.state)));
            case Field::Mark:
                return all_or_none(test.holds(flow.mark));
            case Field::Destination:
                if (flow.destination) return all_or_none(test.holds(*flow.destination));
                break;
            case Field::DestinationPort:
                if (flow.port) return all_or_none(test.holds(*flow.port));
                break;
            default:
                break;
        }
        return space_.passing(test);
    }();
    return condition.inverted ? PacketSet::everything() - set : set;
}

// The packets that meet all of a rule's conditions.
PacketSet FlowWalker::asked_for(const Rule& rule, const Flow& flow) const {
    PacketSet set = PacketSet::everything();
    for (const Condition& condition : rules_.conditions_of(rule)) {
        set = set & passing(condition, flow);
        if (set.is_empty()) break;
    }
    return set;
}

void FlowWalker::note_taking(const Flow& flow, bool accepts, RulePlace by, const Chain* only) {
    for (Watch& watched : watches_) {
        if (only && watched.rule.chain != only) continue;
        const PacketSet taken = watched.eligible & flow.packets;
        if (taken.is_empty()) continue;
        std::vector<RuleUse::Taking>& all = use_.taken[watched.rule];
        const auto known = std::ranges::find_if(all, [&](const RuleUse::Taking& other) {
            return other.by == by && other.accepted == accepts;
        });
        if (known == all.end())
            all.push_back({.by = by, .accepted = accepts, .packets = taken});
        else
            known->packets = known->packets | taken;
        watched.eligible = watched.eligible - taken;
    }
}

void FlowWalker::decide(Flow flow, bool accepts, RulePlace by) {
    note_taking(flow, accepts, by, nullptr);
    if (accepts)
        accepted_.push_back({.flow = std::move(flow), .by = by});
    else
        fates_.push_back({.flow = std::move(flow), .accepted = false, .by = by, .out = out_});
}

void FlowWalker::meet(RulePlace where, Flow part, int depth, std::vector<Flow>& next,
                      std::vector<Flow>& returned) {
    const Rule& rule = *where.rule();
    use_.met.insert(where);
    if (const auto watched = use_.watched.find(where); watched != use_.watched.end())
        std::erase_if(watches_, [&](Watch& watch) {
            if (watch.rule != watched->second) return false;
            watch.eligible = watch.eligible - part.packets;
            return watch.eligible.is_empty();
        });
    if (rule.target == "ACCEPT" || rule.target == "SNAT" || rule.target == "MASQUERADE")
        return decide(std::move(part), true, where);
    if (rule.target == "DROP" || rule.target == "REJECT")
        return decide(std::move(part), false, where);
    if (rule.target == "RETURN") {
        note_taking(part, true, where, where.chain);
        returned.push_back(std::move(part));
        return;
    }
    if (rule.target == "DNAT") {
        const Endpoint to = read_endpoint(*target_option(rule, "--to")).value_or(Endpoint{});
        note_taking(part, true, where, nullptr);
        if (to.address) part.destination = to.address;
        if (to.port) part.port = to.port;
        part.translated_by = where;
        accepted_.push_back({.flow = std::move(part), .by = where});
        return;
    }
    if (const Chain* chain = tables_.find(where.chain->table, rule.target)) {
        for (Flow& back : traverse(*chain, {part}, depth + 1)) next.push_back(std::move(back));
        return;
    }
    if (rule.target == "MARK")
        part.mark = rules_.mark_like(
            read_number(*target_option(rule, "--set-mark"), 0, 0xffffffff).value_or(0));
    next.push_back(std::move(part));
}

// Returns the flows that come to the chain's end or return from it.
std::vector<Flow> FlowWalker::traverse(const Chain& chain, std::vector<Flow> flows, int depth) {
    std::vector<Flow> returned;
    if (depth > deepest_chain) return returned;
    for (size_t number = 1; number <= chain.rules.size() && !flows.empty(); number++) {
        const RulePlace where = {.chain = &chain, .number = number};
        std::vector<Flow> next;
        bool changed = false;
        for (Flow& flow : flows) {
            const PacketSet hit = flow.packets & asked_for(*where.rule(), flow);
            if (hit.is_empty()) {
                next.push_back(std::move(flow));
                continue;
            }
            changed = true;
            PacketSet rest = flow.packets - hit;
            meet(where, with_packets(flow, hit), depth, next, returned);
            if (!rest.is_empty()) next.push_back(with_packets(flow, std::move(rest)));
        }
        flows = std::move(next);
        if (changed) flows = merged(std::move(flows));
    }
    flows.insert(flows.end(), returned.begin(), returned.end());
    return merged(std::move(flows));
}

// Begins to follow the packets of watched rules in the chain and those it leads to.
void FlowWalker::watch(const Chain& chain, const Flow& flow, const PacketSet& so_far, int depth) {
    if (depth > deepest_chain) return;
    for (size_t number = 1; number <= chain.rules.size(); number++) {
        const RulePlace where = {.chain = &chain, .number = number};
        const Chain* next = tables_.find(chain.table, where.rule()->target);
        const auto watched = use_.watched.find(where);
        if (!next && watched == use_.watched.end()) continue;
        const PacketSet asked = so_far & asked_for(*where.rule(), flow);
        if (asked.is_empty()) continue;
        if (watched != use_.watched.end()) {
            const auto known = std::ranges::find(watches_, watched->second, &Watch::rule);
            if (known == watches_.end())
                watches_.push_back({.rule = watched->second, .eligible = asked});
            else
                known->eligible = known->eligible | asked;
        }
        if (next) watch(*next, flow, asked, depth + 1);
    }
}

std::vector<FlowWalker::Accepted> FlowWalker::pass(const char* table, const char* name,
                                                   const std::vector<Flow>& flows) {
    accepted_.clear();
    const Chain* chain = tables_.find(table, name);
    if (!chain) {
        for (const Flow& flow : flows) accepted_.push_back({.flow = flow, .by = {}});
        return std::move(accepted_);
    }
    watches_.clear();
    if (!use_.watched.empty())
        for (const Flow& flow : flows) watch(*chain, flow, flow.packets, 0);
    for (Flow& flow : traverse(*chain, flows, 1))
        decide(std::move(flow), chain->policy == "ACCEPT", {.chain = chain, .number = 0});
    return std::move(accepted_);
}

std::vector<Flow> FlowWalker::pass_on(const char* table, const char* chain,
                                      const std::vector<Flow>& flows) {
    std::vector<Flow> on;
    for (Accepted& each : pass(table, chain, flows)) on.push_back(std::move(each.flow));
    return merged(std::move(on));
}

// Only the first packet of a connection traverses the table nat.
std::vector<Flow> FlowWalker::translate(const char* chain, const std::vector<Flow>& flows) {
    return entry_.state == ConnectionState::New ? pass_on("nat", chain, flows) : flows;
}

// The filter decides; what it accepts passes the last chains as well.
void FlowWalker::leave(const std::string& out, const std::vector<Flow>& flows) {
    if (flows.empty()) return;
    out_ = out;
    const char* const hook = entry_.in.empty() ? "OUTPUT" : "FORWARD";
    std::vector<Flow> on = pass_on("mangle", hook, flows);
    if (entry_.in.empty()) on = translate(hook, on);
    std::vector<Flow> last;
    for (Accepted& each : pass("filter", hook, on)) {
        last.push_back(each.flow);
        fates_.push_back(
            {.flow = std::move(each.flow), .accepted = true, .by = each.by, .out = out});
    }
    translate("POSTROUTING", pass_on("mangle", "POSTROUTING", merged(std::move(last))));
    out_.clear();
}

void FlowWalker::deliver(const std::vector<Flow>& flows) {
    if (flows.empty()) return;
    for (Accepted& each : pass("filter", "INPUT", pass_on("mangle", "INPUT", flows)))
        fates_.push_back({.flow = std::move(each.flow), .accepted = true, .by = each.by});
}

std::vector<Fate> FlowWalker::walk(const PacketSet& packets) {
    std::vector<Flow> flows = {{.packets = packets & space_.possible(entry_.state)}};
    if (!entry_.in.empty()) {
        flows = translate("PREROUTING", pass_on("mangle", "PREROUTING", flows));
        // The kernel drops packets that come from an address of its own.
        if (entry_.in != "lo") {
            const PacketSet no_source = unroutable(space_, networks_, Field::Source);
            const PacketSet no_destination = unroutable(space_, networks_, Field::Destination);
            for (Flow& flow : flows)
                flow.packets = flow.packets - no_source -
                               (!flow.destination
                                    ? no_destination
                                    : all_or_none(Networks::is_no_destination(*flow.destination)));
        }
    }
    std::vector<Flow> own;
    std::map<std::string, std::vector<Flow>> leaving;
    const PacketSet own_set = own_addresses(space_, networks_, Field::Destination);
    PacketSet lan;
    if (networks_.lan)
        lan = space_.passing({.field = Field::Destination,
                              .mask = networks_.lan->mask,
                              .first = networks_.lan->address & networks_.lan->mask,
                              .last = networks_.lan->address & networks_.lan->mask});
    const auto add = [](std::vector<Flow>& list, const Flow& flow, const PacketSet& set) {
        if (!set.is_empty()) list.push_back(with_packets(flow, set));
    };
    for (const Flow& flow : flows) {
        const bool fixed = flow.destination.has_value();
        const bool is_own = fixed && networks_.is_own(*flow.destination);
        const PacketSet to_router = entry_.in.empty() ? PacketSet()
                                    : fixed           ? all_or_none(is_own)
                                                      : own_set;
        const PacketSet to_lan =
            fixed ? all_or_none(networks_.lan && networks_.lan->holds(*flow.destination)) : lan;
        const PacketSet on = flow.packets - to_router;
        add(own, flow, flow.packets & to_router);
        add(leaving[networks_.lan_if], flow, on & to_lan);
        add(leaving[networks_.wan_if], flow, on - to_lan);
    }
    deliver(own);
    for (const auto& [out, list] : leaving) leave(out, list);
    return std::move(fates_);
}

}  // namespace

namespace {

PacketSet addresses_of(const PacketSpace& space, const Net& net, Field field) {
    return space.passing(
        {.field = field, .mask = net.mask, .first = net.first(), .last = net.first()});
}

}  // namespace

PacketSet unroutable(const PacketSpace& space, const Networks& networks, Field field) {
    const PacketSet none = space.with(field, no_address);
    return none | (field == Field::Source ? own_addresses(space, networks, field)
                                          : addresses_of(space, loopback, field));
}

PacketSet own_addresses(const PacketSpace& space, const Networks& networks, Field field) {
    PacketSet set = space.with(field, limited_broadcast) | addresses_of(space, loopback, field) |
                    addresses_of(space, multicasts, field);
    if (networks.lan)
        set = set |
              space.with(field, (networks.lan->address & networks.lan->mask) | ~networks.lan->mask);
    for (const auto& [name, address] : networks.addresses) set = set | space.with(field, address);
    return set;
}

std::string not_followed(const Netfilter& tables) {
    for (const Netfilter::Refused& line : tables.refused)
        if (line.unread)
            return "a script line is not understood (" + line.reason + "): " + line.line;
    for (const Chain& chain : tables.chains)
        for (const Rule& rule : chain.rules) {
            const RuleReading reading = read_rule(rule);
            if (!reading.unread.empty()) return rule.text() + ": " + reading.unread;
            if (rule.pattern)
                return rule.text() + ": the shell would expand that pattern to file names";
        }
    return "";
}

FlowRules::FlowRules(const Netfilter& tables) : tables_(tables) {
    for (const Chain& chain : tables.chains)
        for (const Rule& rule : chain.rules) {
            conditions_[&rule] = read_rule(rule).conditions;
            for (const Condition& condition : conditions_[&rule])
                if (condition.test.field == Field::Mark) mark_tests_.push_back(condition.test);
        }
    for (const Chain& chain : tables.chains)
        for (const Rule& rule : chain.rules)
            if (rule.target == "MARK")
                if (const std::string* const mark = target_option(rule, "--set-mark"))
                    marks_.push_back(read_number(*mark, 0, 0xffffffff).value_or(0));
}

unsigned FlowRules::mark_like(unsigned mark) const {
    const auto alike = std::ranges::find_if(marks_, [&](unsigned other) {
        return std::ranges::all_of(mark_tests_, [&](const FieldTest& test) {
            return test.holds(mark) == test.holds(other);
        });
    });
    return alike == marks_.end() ? mark : *alike;
}

std::vector<Fate> walk_flows(const FlowRules& rules, const Networks& networks,
                             const PacketSpace& space, const Entry& entry, const PacketSet& packets,
                             RuleUse& use) {
    return FlowWalker(rules, networks, space, entry, use).walk(packets);
}
