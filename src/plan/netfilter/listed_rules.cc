// Reads listed chains as the calls of iptables that make them.

#include "plan/netfilter/listed_rules.h"

#include "plan/netfilter/rule_listing.h"
#include "plan/router/lines.h"

namespace {

std::string word_at(std::string_view& rest) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
    return std::string(word);
}

// "Chain FORWARD (policy DROP 0 packets, 0 bytes)", "Chain PF (2 references)"
void add_chain(SavedCalls& calls, std::string_view line) {
    word_at(line);
    const std::string chain = word_at(line);
    if (word_at(line) != "(policy") return calls.add({"-N", chain});
    std::string policy = word_at(line);
    if (policy.ends_with(')')) policy.pop_back();
    calls.add({"-P", chain, policy});
}

}  // namespace

SavedRules read_listed_rules(const std::vector<std::pair<std::string, std::string_view>>& tables) {
    SavedCalls calls;
    for (const auto& [table, text] : tables) {
        const std::vector<std::string_view> lines = body_lines(text);
        calls.begin_table(table);
        // Rules lead to chains that are listed below them.
        for (const std::string_view line : lines)
            if (line.starts_with("Chain ")) add_chain(calls, line);
        std::string chain;
        for (std::string_view line : lines) {
            if (line.starts_with("Chain ")) {
                word_at(line);
                chain = word_at(line);
            } else if (const std::optional<ListedRule> rule = read_listed_rule(line);
                       rule && !chain.empty()) {
                calls.add_rule(chain, rule->words, rule->packets);
            }
        }
    }
    return calls.carry_out();
}
