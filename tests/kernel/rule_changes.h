// Every change of a single rule.
#ifndef RC_TESTS_KERNEL_RULE_CHANGES_H
#define RC_TESTS_KERNEL_RULE_CHANGES_H

#include <string>
#include <vector>

#include "plan/netfilter/netfilter.h"

struct RuleChange {
    enum class Kind { Drop, Swap, Port };
    Kind kind = Kind::Drop;
    std::string table;
    std::string chain;
    size_t number = 0;  // of the rule, from 1; of a swap, the first of the two
    size_t word = 0;    // of a port: its place in the rule's words

    std::string text() const;
};

// Of the tables filter and nat: a rule is dropped, a rule and the next one are swapped, a port is
// one higher.
std::vector<RuleChange> rule_changes(const Netfilter& tables);

Netfilter changed(const Netfilter& tables, const RuleChange& change);

#endif
