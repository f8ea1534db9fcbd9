// The options of iptables that rc's rules have: how they are written, what iptables takes, and what
// they ask of a packet.
#ifndef RC_PLAN_NETFILTER_RULE_OPTIONS_H
#define RC_PLAN_NETFILTER_RULE_OPTIONS_H

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "plan/netfilter/packet.h"

// Whether iptables takes the words behind an option. Unread: perhaps, but here they are not
// understood.
enum class Validity { Fine, Refused, Unread };

using OptionWords = std::span<const std::string>;

struct RuleOption {
    std::array<std::string_view, 3> names;
    size_t words = 1;
    // What must be loaded before: a module of -m, a protocol of -p ("tcp", "ports" for those that
    // have them), or a target. Empty: nothing.
    std::string_view owner = {};
    // A "!" may stand in front of the words, or of the option.
    bool invertible = false;
    Validity (*check)(OptionWords words) = nullptr;
    // Null where nothing is asked of the packet.
    MatchAnswer (*match)(OptionWords words, const Packet& packet) = nullptr;
};

// A module of -m, what it asks of itself, and which option it cannot be without.
struct RuleModule {
    std::string_view name;
    MatchAnswer (*match)(OptionWords words, const Packet& packet) = nullptr;
    std::string_view needed = {};
};

// Null for what is no option, or none that is known here.
const RuleOption* find_rule_option(std::string_view word);
const RuleModule* find_rule_module(std::string_view name);

#endif
