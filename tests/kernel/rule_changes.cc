// Changes rules one at a time.

#include "rule_changes.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "plan/netfilter/packet_values.h"

namespace {

// The last number of a word with ports ("80", "20:25", "192.168.1.9:80") one higher; empty if the
// word has none.
std::string with_next_port(const std::string& option, const std::string& word) {
    static constexpr std::array<std::string_view, 4> options = {
        "--dport", "--sport", "--destination-port", "--source-port"};
    const size_t colon = word.rfind(':');
    const bool ports = std::ranges::count(options, option) > 0;
    if (!ports && (!option.starts_with("--to") || colon == std::string::npos)) return "";
    const size_t start = colon == std::string::npos ? 0 : colon + 1;
    unsigned port = 0;
    const auto [end, error] = std::from_chars(word.data() + start, word.data() + word.size(), port);
    if (error != std::errc() || end != word.data() + word.size() || port > last_port) return "";
    return word.substr(0, start) + std::to_string(port < last_port ? port + 1 : port - 1);
}

}  // namespace

std::string RuleChange::text() const {
    const std::string place = "rule " + std::to_string(number) + " of " + table + " " + chain;
    if (kind == Kind::Drop) return place + " dropped";
    return place + (kind == Kind::Swap ? " swapped with the next one" : ", next port");
}

std::vector<RuleChange> rule_changes(const Netfilter& tables) {
    std::vector<RuleChange> changes;
    for (const Chain& chain : tables.chains) {
        if (chain.table != "filter" && chain.table != "nat") continue;
        for (size_t i = 0; i < chain.rules.size(); i++) {
            const std::vector<std::string>& words = chain.rules[i].rule_words;
            RuleChange change = {.table = chain.table, .chain = chain.name, .number = i + 1};
            changes.push_back(change);
            change.kind = RuleChange::Kind::Swap;
            if (i + 1 < chain.rules.size() && words != chain.rules[i + 1].rule_words)
                changes.push_back(change);
            change.kind = RuleChange::Kind::Port;
            for (change.word = 1; change.word < words.size(); change.word++)
                if (!with_next_port(words[change.word - 1], words[change.word]).empty())
                    changes.push_back(change);
        }
    }
    return changes;
}

Netfilter changed(const Netfilter& tables, const RuleChange& change) {
    Netfilter result = tables;
    for (Chain& chain : result.chains) {
        if (chain.table != change.table || chain.name != change.chain) continue;
        const auto rule = chain.rules.begin() + static_cast<ptrdiff_t>(change.number - 1);
        if (change.kind == RuleChange::Kind::Drop) {
            chain.rules.erase(rule);
        } else if (change.kind == RuleChange::Kind::Swap) {
            std::iter_swap(rule, rule + 1);
        } else {
            const std::string option = rule->rule_words[change.word - 1];
            std::string& word = rule->rule_words[change.word];
            const std::string next = with_next_port(option, word);
            for (size_t i = 1; i < rule->target_options.size(); i++)
                if (rule->target_options[i - 1] == option && rule->target_options[i] == word)
                    rule->target_options[i] = next;
            word = next;
        }
        break;
    }
    return result;
}
