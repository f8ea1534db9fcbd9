// A parsed rule: its conditions, and whether iptables accepts it.
#ifndef RC_PLAN_NETFILTER_RULE_READING_H
#define RC_PLAN_NETFILTER_RULE_READING_H

#include <string>
#include <vector>

#include "plan/netfilter/netfilter.h"
#include "plan/netfilter/rule_options.h"

struct Condition {
    FieldTest test;
    bool inverted = false;
    std::vector<std::string> words = {};

    MatchAnswer compare(const Packet& packet) const;
};

struct RuleReading {
    std::vector<Condition> conditions;
    // Why iptables refuses the rule; empty if it does not.
    std::string refused;
    // The part that is not understood here; empty if all is understood. The conditions before it
    // are valid.
    std::string unread;
};

RuleReading read_rule(const Rule& rule);

// The argument of any option of the rule, or null.
const std::string* option_of(const Rule& rule, std::string_view name);

// The argument of an option of the rule's target, or null.
const std::string* target_option(const Rule& rule, std::string_view name);

#endif
