// Rules that no packet reaches, and forwards that lead nowhere.

#include <algorithm>
#include <set>

#include "plan/exposure/exposure.h"
#include "plan/exposure/opening_words.h"

namespace {

// All ways by which packets enter: the router's interfaces and those that rules name, and the
// router itself.
std::vector<Entry> entries_of(const Firewall& firewall) {
    std::set<std::string> names = {"", "lo", firewall.networks.lan_if, firewall.networks.wan_if};
    for (const auto& [name, address] : firewall.networks.addresses) names.insert(name);
    std::vector<Entry> entries;
    for (const std::string& name : names)
        for (const ConnectionState state : connection_states)
            entries.push_back({.in = name, .state = state});
    return entries;
}

std::string settings_text(const std::vector<SettingUse>& uses) {
    std::string text;
    for (const SettingUse& use : uses)
        if (!use.entries.empty() || uses.size() == 1)
            text += (text.empty() ? "" : ", ") + use.text();
    return text;
}

// Who takes packets: "fw_in_rules entry 1 (rule 1 of PF)", "rule 2 of INPUT". Entries of the same
// lists are told together.
std::string takers_text(const RuleSettings& settings, const std::vector<RulePlace>& takers) {
    struct Together {
        std::vector<SettingUse> uses;
        std::vector<RulePlace> places;
    };
    std::vector<Together> groups;
    for (const RulePlace& place : takers) {
        const std::vector<SettingUse> uses = settings.of(place);
        const auto known = std::ranges::find_if(groups, [&](const Together& group) {
            return is_of_a_list(uses) &&
                   std::ranges::equal(group.uses, uses, {}, &SettingUse::key, &SettingUse::key);
        });
        if (known == groups.end()) {
            groups.push_back({.uses = uses, .places = {place}});
            continue;
        }
        add_uses(known->uses, uses);
        known->places.push_back(place);
    }
    std::string text;
    for (const Together& group : groups) {
        const std::string behind = settings_text(group.uses);
        const std::string first = rule_name(group.places.front());
        const size_t more = group.places.size() - 1;
        text += text.empty() ? "" : ", ";
        if (behind.empty())
            text += first;
        else if (more == 0)
            text += behind + " (" + first + ")";
        else
            text += behind + " (" + first + " and " + std::to_string(more) + " more)";
    }
    return text;
}

}  // namespace

std::vector<ExposureRow> unused_rows(const Firewall& firewall, const PacketSpace& space,
                                     const RuleSettings& settings) {
    RuleUse use;
    // Per forward: whether some of its packets are accepted, and what drops the others.
    std::set<RulePlace> arrive;
    std::map<RulePlace, std::set<RulePlace>> dropped;
    const auto walk_all = [&](RuleUse& all, bool notes_fates) {
        for (const Entry& entry : entries_of(firewall))
            for (const Fate& fate : walk_flows(firewall.rules, firewall.networks, space, entry,
                                               PacketSet::everything(), all)) {
                if (!notes_fates || !fate.flow.translated_by) continue;
                if (fate.accepted)
                    arrive.insert(*fate.flow.translated_by);
                else
                    dropped[*fate.flow.translated_by].insert(fate.by);
            }
    };
    walk_all(use, true);
    RuleUse second;
    for (const Chain& chain : firewall.tables.chains)
        for (size_t number = 1; number <= chain.rules.size(); number++) {
            const RulePlace place = {.chain = &chain, .number = number};
            if (!use.met.contains(place)) second.watched[place] = place;
        }
    walk_all(second, false);

    std::vector<ExposureRow> rows;
    const auto add = [&](const RulePlace& place, const std::string& why, const char* fix) {
        ExposureRow row;
        row.kind = ExposureRow::Kind::Unused;
        row.settings = settings.of(place);
        row.own = !is_of_a_list(row.settings);
        row.rule = place_of(firewall, place);
        // rc's own rules are what they are.
        row.why = row.own ? why : why + fix;
        rows.push_back(std::move(row));
    };
    for (const auto& [place, leader] : second.watched) {
        std::vector<RulePlace> by;
        for (const RuleUse::Taking& taking : second.taken[place]) by.push_back(taking.by);
        const std::string takers = takers_text(settings, by);
        if (takers.empty())
            add(place, "no packet that it asks for comes to " + place.chain->name,
                "; take the entry out");
        else
            add(place, "its packets are taken before by " + takers,
                "; take the entry out, or put it first");
    }
    for (const auto& [place, by] : dropped) {
        if (arrive.contains(place)) continue;
        add(place,
            "every packet that it forwards is dropped by " +
                takers_text(settings, {by.begin(), by.end()}),
            "; allow what it forwards, or take the entry out");
    }
    std::ranges::stable_sort(rows, {}, &ExposureRow::own);
    return rows;
}
