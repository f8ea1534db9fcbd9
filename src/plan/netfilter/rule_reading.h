// A rule taken apart: its conditions, and whether iptables takes it at all.
#ifndef RC_PLAN_NETFILTER_RULE_READING_H
#define RC_PLAN_NETFILTER_RULE_READING_H

#include <string>
#include <vector>

#include "plan/netfilter/netfilter.h"
#include "plan/netfilter/rule_options.h"

struct Condition {
    MatchAnswer (*match)(OptionWords words, const Packet& packet) = nullptr;
    bool inverted = false;
    std::vector<std::string> words = {};

    MatchAnswer ask(const Packet& packet) const;
};

struct RuleReading {
    std::vector<Condition> conditions;
    // Why iptables refuses the rule; empty when it does not.
    std::string refused;
    // What is not understood here; empty when all is. The conditions in front of it are.
    std::string unread;
};

RuleReading read_rule(const Rule& rule);

// The word behind an option of the rule's target, or nothing.
const std::string* target_option(const Rule& rule, std::string_view name);

#endif
