// A line of `iptables -L -n -v -x`, translated into the words of its rule.
#ifndef RC_PLAN_NETFILTER_RULE_LISTING_H
#define RC_PLAN_NETFILTER_RULE_LISTING_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ListedRule {
    unsigned long long packets = 0;
    // Matches and target, without the chain.
    std::vector<std::string> words;
};

// nullopt if the line is not a rule.
std::optional<ListedRule> read_listed_rule(std::string_view line);

#endif
