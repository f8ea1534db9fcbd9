// Walks a packet through the tables in the kernel's order, rule by rule.

#include "plan/netfilter/packet_walk.h"

#include <algorithm>

#include "core/text.h"
#include "plan/netfilter/rule_reading.h"

namespace {

constexpr std::string_view hooks[] = {"PREROUTING", "INPUT", "FORWARD", "OUTPUT", "POSTROUTING"};

// The result of a rule or a chain. Return ends a user's chain, and a built-in one with its policy.
enum class Outcome { Continue, Accept, Drop, Return, Open };

class Walker {
  public:
    Walker(const Netfilter& tables, const Networks& networks, const Packet& packet)
        : tables_(tables), networks_(networks) {
        walk_.packet = packet;
    }
    Walk walk();

  private:
    const Netfilter& tables_;
    const Networks& networks_;
    Walk walk_;
    // The jumps to the chain that is being walked.
    std::vector<Decision> jumps_;

    Packet& packet() { return walk_.packet; }
    void walk_tables();
    // Each returns false if the packet goes no further.
    bool arrive();
    bool is_routed();
    // From no address, no address means everyone.
    bool asks_everyone() {
        return packet().source == no_address && packet().destination == no_address;
    }
    bool filter(const char* chain);
    bool leave();
    bool pass(const char* table, const char* chain, bool decides = false);
    bool translate(const char* chain);
    void route();

    Outcome traverse(const Chain& chain, int depth);
    Outcome meet(Decision where, int depth);
    // Unknown stores the reason in the walk.
    Answer matches(const Decision& where);
    Outcome act(const Decision& where, int depth, std::string& effect);
    Outcome enter(const Decision& where, int depth);
    std::string change_destination(const Decision& where);
    std::string change_source(const Decision& where);
    std::string set_mark(const Decision& where);

    void note(const std::string& text) { walk_.steps.push_back({.effect = text}); }
    void assume(const std::string& what) {
        if (!what.empty() && std::ranges::count(walk_.assumptions, what) == 0)
            walk_.assumptions.push_back(what);
    }
};

Walk Walker::walk() {
    for (const Netfilter::Refused& line : tables_.refused) {
        if (!line.unread) continue;
        walk_.unknown_reason =
            "a script line is not understood (" + line.reason + "): " + line.line;
        return std::move(walk_);
    }
    walk_tables();
    return std::move(walk_);
}

void Walker::walk_tables() {
    if (packet().in.empty()) {
        route();
        if (pass("mangle", "OUTPUT") && translate("OUTPUT") && filter("OUTPUT")) leave();
        return;
    }
    if (!arrive() || !is_routed()) return;
    const Ipv4 destination = packet().destination.value_or(0);
    const bool routed_multicast = multicasts.holds(destination) && !packet().out.empty();
    if ((networks_.is_own(destination) || asks_everyone()) && !routed_multicast) {
        packet().out.clear();
        note("for the router itself");
        if (multicasts.holds(destination))
            assume("the router has joined that group (otherwise: --out)");
        if (pass("mangle", "INPUT")) filter("INPUT");
        return;
    }
    route();
    note("forwarded to " + packet().out);
    if (pass("mangle", "FORWARD") && filter("FORWARD")) leave();
}

bool Walker::arrive() {
    return pass("mangle", "PREROUTING") && translate("PREROUTING");
}

// The kernel drops packets whose source is one of the router's own addresses, a broadcast or a
// multicast address, and those to or from addresses that are never on a link.
bool Walker::is_routed() {
    if (packet().in == "lo" || asks_everyone()) return true;
    const std::optional<Ipv4> source = packet().source;
    const std::optional<Ipv4> destination = packet().destination;
    // An unknown destination stands for a usual one.
    constexpr Ipv4 usual = 0x01000000;
    if (destination && Networks::is_no_destination(*destination))
        walk_.misrouted = "nothing to " + quad_text(*destination) + " can arrive";
    else if (source &&
             networks_.is_no_source(*source, destination.value_or(usual), packet().protocol))
        walk_.misrouted = quad_text(*source) + " cannot arrive";
    else
        return true;
    walk_.verdict = Verdict::Drop;
    walk_.misrouted += " on " + packet().in;
    note(walk_.misrouted);
    return false;
}

bool Walker::filter(const char* chain) {
    return pass("filter", chain, true);
}

bool Walker::leave() {
    return pass("mangle", "POSTROUTING") && translate("POSTROUTING");
}

void Walker::route() {
    if (packet().out.empty())
        packet().out = networks_.interface_to(packet().destination.value_or(0));
}

// Only the first packet of a connection traverses the table nat; its decision holds for the others.
bool Walker::translate(const char* chain) {
    if (packet().state == ConnectionState::New) return pass("nat", chain);
    const Chain* rules = tables_.find("nat", chain);
    const bool has_rules = rules && !rules->rules.empty();
    if (has_rules && packet().state == ConnectionState::Invalid)
        assume(
            "its addresses are not translated: an INVALID packet does not traverse the table nat");
    else if (has_rules)
        assume(
            "its addresses are already translated: only a connection's first packet"
            " traverses the table nat");
    return true;
}

// Walks a built-in chain. The filter table decides the verdict; a drop in any table is final.
bool Walker::pass(const char* table, const char* name, bool decides) {
    const Chain* chain = tables_.find(table, name);
    if (!chain) return true;
    walk_.steps.push_back({.kind = WalkStep::Kind::Chain, .table = table, .chain = name});
    const std::optional<Decision> before = walk_.decision;
    const Outcome outcome = traverse(*chain, 1);
    if (outcome == Outcome::Open) {
        walk_.verdict = Verdict::Unknown;
        return false;
    }
    bool accepted = outcome == Outcome::Accept;
    if (outcome == Outcome::Return) {
        accepted = chain->policy == "ACCEPT";
        walk_.decision = Decision{.table = table, .chain = name, .origin = chain->policy_origin};
        walk_.steps.push_back({.kind = WalkStep::Kind::Policy,
                               .depth = 1,
                               .table = table,
                               .chain = name,
                               .effect = chain->policy.value_or("")});
    }
    if (decides || !accepted)
        walk_.verdict = accepted ? Verdict::Accept : Verdict::Drop;
    else
        walk_.decision = before;
    return accepted;
}

Outcome Walker::traverse(const Chain& chain, int depth) {
    for (size_t place = 0; place < chain.rules.size(); place++) {
        Decision where = {.table = chain.table,
                          .chain = chain.name,
                          .number = place + 1,
                          .rule = chain.rules[place],
                          .origin = chain.rules[place].origin};
        const Outcome outcome = meet(std::move(where), depth);
        if (outcome != Outcome::Continue) return outcome;
    }
    return Outcome::Return;
}

Outcome Walker::meet(Decision where, int depth) {
    const Answer answer = matches(where);
    if (answer == Answer::No) return Outcome::Continue;
    where.jumps = jumps_;
    const size_t step = walk_.steps.size();
    walk_.steps.push_back({.kind = WalkStep::Kind::Rule,
                           .depth = depth,
                           .table = where.table,
                           .chain = where.chain,
                           .number = where.number,
                           .rule = where.rule});
    std::string effect;
    const Outcome outcome = answer == Answer::Unknown ? Outcome::Open : act(where, depth, effect);
    walk_.steps[step].effect =
        answer == Answer::Unknown ? "unknown: " + walk_.unknown_reason : effect;
    const bool decides = outcome == Outcome::Accept || outcome == Outcome::Drop;
    if (decides && !tables_.find(where.table, where.rule->target)) walk_.decision = where;
    return outcome;
}

bool holds_pattern(const Condition& condition) {
    return std::ranges::any_of(condition.words, [](const std::string& word) {
        return word.find_first_of("*?[") != std::string::npos;
    });
}

// All conditions must hold, and one that fails decides. Assumptions are noted only if no condition
// without an assumption decided.
Answer Walker::matches(const Decision& where) {
    const RuleReading reading = read_rule(*where.rule);
    std::string missing = reading.unread;
    if (where.rule->pattern && missing.empty())
        missing = "the shell would expand that pattern to file names";
    // A LOG rule's limit is for the number of log lines, so over_limit does not apply to it.
    Packet compared = packet();
    const bool logged = compared.over_limit && where.rule->target == "LOG";
    if (logged) compared.over_limit = false;
    bool fits = true;
    std::vector<std::string> remarks;
    for (const Condition& condition : reading.conditions) {
        if (where.rule->pattern && holds_pattern(condition)) continue;
        const MatchAnswer answer = condition.compare(compared);
        if (answer.answer == Answer::No && answer.remark.empty()) return Answer::No;
        if (answer.answer == Answer::No) fits = false;
        if (answer.answer == Answer::Unknown && missing.empty())
            missing = "it depends on " + answer.remark;
        else if (!answer.remark.empty() && answer.answer != Answer::Unknown && !logged)
            remarks.push_back(answer.remark);
    }
    for (const std::string& remark : remarks) assume(remark);
    if (!fits) return Answer::No;
    if (missing.empty()) return Answer::Yes;
    walk_.unknown_reason = where.text() + ": " + missing;
    return Answer::Unknown;
}

Outcome Walker::act(const Decision& where, int depth, std::string& effect) {
    const Rule& rule = *where.rule;
    const auto option = [&](const char* name) {
        const std::string* word = target_option(rule, name);
        return word ? *word : std::string();
    };
    if (rule.target == "ACCEPT") return Outcome::Accept;
    if (rule.target == "DROP") return Outcome::Drop;
    if (rule.target == "RETURN") return Outcome::Return;
    if (rule.target == "REJECT") {
        effect = "answered with " +
                 (option("--reject-with").empty() ? "an ICMP error" : option("--reject-with"));
        return Outcome::Drop;
    }
    if (rule.target == "DNAT") {
        effect = change_destination(where);
        return Outcome::Accept;
    }
    if (rule.target == "SNAT" || rule.target == "MASQUERADE") {
        effect = change_source(where);
        return Outcome::Accept;
    }
    if (tables_.find(where.table, rule.target)) return enter(where, depth);

    if (rule.target.empty()) effect = "counted";
    if (rule.target == "LOG") effect = "logged as \"" + option("--log-prefix") + "\"";
    if (rule.target == "MARK") effect = set_mark(where);
    if (rule.target == "TTL")
        effect = option("--ttl-set").empty() ? "TTL increased by " + option("--ttl-inc")
                                             : "TTL " + option("--ttl-set");
    if (rule.target == "TCPMSS")
        effect = option("--set-mss").empty() ? "MSS limited to the path MTU"
                                             : "MSS " + option("--set-mss");
    return Outcome::Continue;
}

Outcome Walker::enter(const Decision& where, int depth) {
    const Chain& chain = *tables_.find(where.table, where.rule->target);
    if (depth >= deepest_chain) {
        walk_.unknown_reason = where.text() + ": the chains form a loop";
        return Outcome::Open;
    }
    walk_.steps.push_back({.kind = WalkStep::Kind::Chain,
                           .depth = depth + 1,
                           .table = chain.table,
                           .chain = chain.name});
    jumps_.push_back(where);
    jumps_.back().jumps.clear();
    const Outcome outcome = traverse(chain, depth + 2);
    jumps_.pop_back();
    return outcome == Outcome::Return ? Outcome::Continue : outcome;
}

std::string Walker::change_destination(const Decision& where) {
    const Endpoint to = read_endpoint(*target_option(*where.rule, "--to")).value_or(Endpoint{});
    if (to.address) packet().destination = to.address;
    if (to.port) packet().destination_port = to.port;
    walk_.destination_nat = where;
    return "to " + endpoint_text(packet().destination, packet().destination_port);
}

std::string Walker::change_source(const Decision& where) {
    walk_.source_nat = where;
    if (where.rule->target == "MASQUERADE") {
        const auto own = networks_.addresses.find(packet().out);
        packet().source.reset();
        if (own != networks_.addresses.end()) packet().source = own->second;
    } else {
        const Endpoint to = read_endpoint(*target_option(*where.rule, "--to")).value_or(Endpoint{});
        if (to.address) packet().source = to.address;
        if (to.port) packet().source_port = to.port;
    }
    return packet().source ? "from " + quad_text(*packet().source)
                           : "from the address of " + packet().out;
}

std::string Walker::set_mark(const Decision& where) {
    const std::string& mark = *target_option(*where.rule, "--set-mark");
    packet().mark = read_number(mark, 0, 0xffffffff).value_or(0);
    walk_.marked = where;
    return "mark " + std::to_string(packet().mark);
}

}  // namespace

std::string Decision::text() const {
    // Chains of the filter table are named without the table.
    const bool shared = table != "filter" && std::ranges::count(hooks, chain) > 0;
    const std::string name = shared ? table + "'s " + chain : chain;
    if (number > 0) return "rule " + std::to_string(number) + " of " + name;
    return shared ? "the policy of " + name : name + "'s policy";
}

std::string Walk::verdict_text() const {
    if (verdict == Verdict::Unknown) return "UNKNOWN: " + unknown_reason;
    if (!misrouted.empty()) return "DROP by the kernel's routing: " + misrouted;
    std::string text = verdict == Verdict::Accept ? "ACCEPT" : "DROP";
    if (decision && decision->rule) text = decision->rule->target;
    if (decision) text += " by " + decision->text();
    const auto add = [&](const std::string& what, const std::optional<Decision>& by) {
        if (by) text += ", " + what + " (" + by->rule->target + " by " + by->text() + ")";
    };
    add("to " + endpoint_text(packet.destination, packet.destination_port), destination_nat);
    add("from " + (packet.source ? quad_text(*packet.source) : "the address of " + packet.out),
        source_nat);
    add("mark " + std::to_string(packet.mark), marked);
    return text;
}

Walk walk_packet(const Netfilter& tables, const Networks& networks, const Packet& packet) {
    return Walker(tables, networks, packet).walk();
}
