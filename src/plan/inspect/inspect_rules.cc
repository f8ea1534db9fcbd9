// The kernel's packet filter, compared with the rules that rc makes.

#include <algorithm>

#include "core/text.h"
#include "plan/exposure/exposure.h"
#include "plan/inspect/hidden.h"
#include "plan/inspect/inspect.h"
#include "plan/netfilter/listed_rules.h"

namespace {

// The UPnP daemon's own, which rc creates empty.
constexpr std::string_view lent_chains[] = {"UPNP", "FW_UPNP"};

std::string place_text(const Chain& chain) {
    return "chain " + chain.name + " of table " + chain.table;
}

std::vector<std::string> texts_of(const Chain& chain) {
    std::vector<std::string> texts;
    for (const Rule& rule : chain.rules) texts.push_back(canonical_text(rule));
    return texts;
}

class RuleComparison {
  public:
    RuleComparison(const ExpectedRouter& expected, Deviations& list)
        : firewall_(expected.firewall()), list_(list) {}

    void compare(const Chain& wanted, const Chain& found);
    void put(const Chain& chain, const std::string& wanted, const std::string& is,
             const Rule* rule = nullptr);

  private:
    const Step* firewall_;
    Deviations& list_;
    std::optional<Provenance> provenance_;

    std::vector<std::string> settings_of(const Rule& rule);
};

std::vector<std::string> RuleComparison::settings_of(const Rule& rule) {
    if (!firewall_) return {};
    if (!provenance_) provenance_ = trace(firewall_->plan);
    std::vector<std::string> keys;
    for (const Influence& influence : provenance_->of(rule.origin))
        if (influence.input.kind == Input::Kind::Setting) {
            const std::string entries = influence.entries_text();
            keys.push_back(influence.input.name + (entries.empty() ? "" : " " + entries));
        }
    return keys;
}

void RuleComparison::put(const Chain& chain, const std::string& wanted, const std::string& is,
                         const Rule* rule) {
    Deviation deviation = {.kind = Deviation::Kind::Rule,
                           .what = place_text(chain),
                           .expected = wanted,
                           .found = is,
                           .fix = "rc firewall restart"};
    if (rule) deviation.settings = settings_of(*rule);
    list_.push_back(deviation);
}

void RuleComparison::compare(const Chain& wanted, const Chain& found) {
    if (wanted.policy != found.policy)
        put(wanted, "policy " + wanted.policy.value_or("none"),
            "policy " + found.policy.value_or("none"));
    const std::vector<std::string> texts = texts_of(wanted);
    const std::vector<std::string> there = without_hidden(texts, texts_of(found));
    std::vector<size_t> missing;
    std::vector<size_t> extra;
    for (const LineChange& change : compare_lines(texts, there)) {
        for (size_t i = change.from; i < change.to; i++) missing.push_back(i);
        for (size_t i = change.other_from; i < change.other_to; i++) extra.push_back(i);
    }
    // Each start adds the rules of the table mangle once more.
    const auto is_repeated = [&](const std::string& rule) {
        return wanted.table == "mangle" && std::ranges::count(texts, rule) > 0 &&
               std::ranges::count(there, rule) > 0;
    };
    const bool lent = std::ranges::count(lent_chains, wanted.name) > 0;
    for (const size_t rule : missing) {
        const auto moved =
            std::ranges::find_if(extra, [&](size_t other) { return there[other] == texts[rule]; });
        const Rule& one = wanted.rules[rule];
        if (is_repeated(texts[rule])) continue;
        if (moved == extra.end()) {
            put(wanted, one.text(), "", &one);
        } else {
            put(wanted, "rule " + std::to_string(rule + 1) + ": " + one.text(),
                "as rule " + std::to_string(*moved + 1), &one);
            extra.erase(moved);
        }
    }
    for (const size_t rule : extra) {
        if (!lent && !is_repeated(there[rule])) put(wanted, "", found.rules[rule].text());
    }
}

// Forwards whose counters say that nothing has used them.
void inspect_counters(const SavedRules& saved, Deviations& list) {
    for (const Chain& chain : saved.tables.chains) {
        const auto counts = saved.packets.find({chain.table, chain.name});
        if (counts == saved.packets.end() || counts->second.size() != chain.rules.size()) continue;
        for (size_t i = 0; i < chain.rules.size(); i++)
            if (chain.rules[i].target == "DNAT" && chain.name == "PF" && counts->second[i] == 0)
                list.push_back({.kind = Deviation::Kind::Rule,
                                .what = place_text(chain),
                                .expected = chain.rules[i].text(),
                                .found = "no packet since the rules were made",
                                .fix = "nothing, unless somebody says that this forward fails",
                                .note = true});
    }
}

// The router's packet filter; nullopt if the archive does not have it.
std::optional<SavedRules> rules_in(const Bundle& bundle) {
    const std::string_view output = bundle.output("iptables-save");
    if (contains(output, "COMMIT")) return read_saved_rules(output);
    std::vector<std::pair<std::string, std::string_view>> listings;
    for (const char* const table : {"filter", "nat", "mangle"})
        if (const std::string_view listing = bundle.output(std::string("iptables.") + table);
            contains(listing, "Chain "))
            listings.emplace_back(table, listing);
    if (listings.empty()) return std::nullopt;
    return read_listed_rules(listings);
}

// rc makes no such rules, or it would know them.
void inspect_unknown(const SavedRules& saved, Deviations& list) {
    for (const Netfilter::Refused& refused : saved.tables.refused)
        if (contains(refused.line, " -A "))
            list.push_back({.kind = Deviation::Kind::Rule,
                            .what = "a rule that rc does not make",
                            .found = refused.line,
                            .fix = "rc firewall restart"});
}

}  // namespace

void inspect_rules(const Bundle& bundle, const FoundRouter& found, const ExpectedRouter& expected,
                   Deviations& list) {
    const std::optional<SavedRules> found_rules = rules_in(bundle);
    if (!found_rules) return;
    // Rules are made for the link's address and MTU, which are gone with it.
    if (expected.firewall() && found.lacks_wan_address()) {
        list.push_back({.kind = Deviation::Kind::Rule,
                        .what = "the packet filter",
                        .expected = "the rules of a link that is up",
                        .found = "not compared: " + found.wan_interface() + " has no address",
                        .fix = "make another archive when the link is up",
                        .note = true});
        return;
    }
    const SavedRules& saved = *found_rules;
    const Netfilter wanted = expected.rules();
    RuleComparison comparison(expected, list);
    for (const Chain& chain : wanted.chains) {
        const Chain* const there = saved.tables.find(chain.table, chain.name);
        if (there)
            comparison.compare(chain, *there);
        else if (!chain.policy)
            comparison.put(chain, "the chain", "");
    }
    for (const Chain& chain : saved.tables.chains) {
        if (wanted.find(chain.table, chain.name)) continue;
        // A table that rc does not use has the kernel's own chains, which have policies.
        if (!chain.policy) comparison.put(chain, "", "a chain that rc does not make");
        for (const Rule& rule : chain.rules)
            if (chain.policy) comparison.put(chain, "", rule.text());
    }
    inspect_unknown(saved, list);
    inspect_counters(saved, list);
}
