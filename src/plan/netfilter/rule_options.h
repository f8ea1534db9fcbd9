// The iptables options in rc's rules: their spelling, the arguments that iptables accepts, and
// their matches.
#ifndef RC_PLAN_NETFILTER_RULE_OPTIONS_H
#define RC_PLAN_NETFILTER_RULE_OPTIONS_H

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "plan/netfilter/packet_match.h"

// Whether iptables accepts an option's arguments. Unread: not understood here, iptables may accept
// them.
enum class Validity { Fine, Refused, Unread };

struct RuleOption {
    std::array<std::string_view, 3> names;
    size_t words = 1;
    // Must come earlier in the rule: a module of -m, a protocol of -p ("tcp"; "ports" for any with
    // ports), or a target. Empty: nothing.
    std::string_view owner = {};
    // A "!" may come before the option or before its arguments.
    bool invertible = false;
    Validity (*check)(OptionWords words) = nullptr;
    // Null if the option is not a match.
    FieldTest (*test)(OptionWords words) = nullptr;
};

// A module of -m, its own match, and the option that it requires.
struct RuleModule {
    std::string_view name;
    FieldTest (*test)(OptionWords words) = nullptr;
    std::string_view needed = {};
};

// Null if the word is not a known option.
const RuleOption* find_rule_option(std::string_view word);
const RuleModule* find_rule_module(std::string_view name);

#endif
