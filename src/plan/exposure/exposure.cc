// The rows of what is open.

#include "plan/exposure/exposure.h"

#include <algorithm>
#include <map>

#include "plan/exposure/moments.h"
#include "plan/exposure/opening_words.h"
#include "plan/netfilter/packet_walk.h"

namespace {

// How much an opening opens: ports of protocols, then addresses.
double breadth(const Opening& opening) {
    const auto count = [](const std::vector<NumberRange>& ranges) {
        double sum = 0;
        for (const NumberRange& range : ranges)
            sum += static_cast<double>(range.last - range.first) + 1;
        return sum;
    };
    const double ports = opening.ports.empty() ? 1 : count(opening.ports);
    const double hosts = opening.to ? 1 : count(opening.destinations);
    return count(opening.protocols) * ports * count(opening.sources) * hosts;
}

}  // namespace

std::string SettingUse::text() const {
    if (entries.empty()) return key;
    Influence named = {.input = {}, .answer = std::nullopt};
    named.entries = entries;
    return key + " " + named.entries_text();
}

bool is_of_a_list(const std::vector<SettingUse>& uses) {
    return std::ranges::any_of(uses, [](const SettingUse& use) { return !use.entries.empty(); });
}

std::string rule_name(const RulePlace& place) {
    if (place.number == 0) return "the policy of " + place.chain->name;
    return "rule " + std::to_string(place.number) + " of " + place.chain->name;
}

namespace {

std::optional<Origin> origin_of(const RulePlace& by) {
    if (by.chain == nullptr) return std::nullopt;
    return by.rule() != nullptr ? by.rule()->origin : by.chain->policy_origin;
}

}  // namespace

Place place_of(const Firewall& firewall, const RulePlace& by) {
    const std::optional<Origin> origin = origin_of(by);
    return origin ? ::place_of(firewall.plan, *origin) : Place{};
}

RuleSettings::RuleSettings(const Firewall& firewall, const Provenance& provenance)
    : provenance_(provenance) {
    std::map<std::string, size_t> counts;
    size_t rules = 0;
    for (const Chain& chain : firewall.tables.chains)
        for (const Rule& rule : chain.rules) {
            rules++;
            for (const Influence& influence : provenance.of(rule.origin))
                if (influence.input.kind == Input::Kind::Setting && influence.entries.empty())
                    counts[influence.input.name]++;
        }
    // Which interface and address the LAN has stands in nearly every rule.
    for (const auto& [key, count] : counts)
        if (count * 2 > rules) common_.push_back(key);
    for (const char* key : {"lan_if", "lan_ipaddr", "lan_netmask", "wan_ifname", "wan_phy_ifname",
                            "wan_mode", "ether_wan_ifname"})
        common_.emplace_back(key);
}

void RuleSettings::add(std::vector<SettingUse>& uses, const Rule& rule) const {
    for (const Influence& influence : provenance_.of(rule.origin)) {
        const std::string& key = influence.input.name;
        if (influence.input.kind == Input::Kind::Setting && std::ranges::count(common_, key) == 0)
            add_uses(uses, {{.key = key, .entries = influence.entries}});
    }
}

std::vector<SettingUse> RuleSettings::of(const RulePlace& place) const {
    std::vector<SettingUse> uses;
    if (place.rule() == nullptr) return uses;
    add(uses, *place.rule());
    std::ranges::stable_sort(uses, {}, [](const SettingUse& use) { return use.entries.empty(); });
    return uses;
}

void add_uses(std::vector<SettingUse>& uses, const std::vector<SettingUse>& more) {
    for (const SettingUse& use : more) {
        const auto known = std::ranges::find(uses, use.key, &SettingUse::key);
        if (known == uses.end()) {
            uses.push_back(use);
            continue;
        }
        for (const unsigned entry : use.entries)
            if (std::ranges::count(known->entries, entry) == 0) known->entries.push_back(entry);
    }
}

namespace {

// The entries of one list are one cause.
Cause cause_by(const RuleSettings& settings) {
    return [&settings](const RulePlace& place) {
        const std::vector<SettingUse> uses = settings.of(place);
        if (is_of_a_list(uses)) return uses.front().key;
        if (place.chain == nullptr) return std::string();
        return place.chain->table + " " + rule_name(place);
    };
}

void sort_by_breadth(std::vector<ExposureRow>& rows) {
    std::ranges::stable_sort(rows, [](const ExposureRow& one, const ExposureRow& other) {
        const bool is_new = one.state == ConnectionState::New;
        const bool other_new = other.state == ConnectionState::New;
        if (is_new != other_new) return is_new;
        return one.breadth > other.breadth;
    });
}

std::vector<ExposureRow> rows_of(const std::vector<Opening>& openings, const Firewall& firewall,
                                 const PacketSpace& space, const RuleSettings& settings,
                                 const std::string& in) {
    std::vector<ExposureRow> rows;
    for (const Opening& opening : openings) {
        ExposureRow row;
        row.kind = ExposureRow::Kind::Open;
        row.proto = protocols_text(opening);
        row.ports = ports_text(opening.ports);
        row.from = in;
        row.src = sources_text(space, firewall.networks, opening);
        row.to = target_text(space, firewall.networks, opening);
        row.to_ports = target_ports_text(opening);
        row.when = conditions_of(firewall, space, opening);
        if (opening.translated_by) row.settings = settings.of(*opening.translated_by);
        const Packet witness =
            witness_of(space, firewall.networks, opening.packets, in, opening.state);
        row.packet = packet_words(witness);
        // Of the rules that accept some of the packets, the one that accepts this one.
        RulePlace by = opening.by[0];
        const Walk walk = walk_packet(firewall.tables, firewall.networks, witness);
        for (const RulePlace& each : opening.by)
            if (walk.decision && each.chain != nullptr &&
                walk.decision->chain == each.chain->name && walk.decision->number == each.number)
                by = each;
        if (opening.translated_by)
            add_uses(row.settings, settings.of(by));
        else
            for (const RulePlace& each : opening.by) add_uses(row.settings, settings.of(each));
        std::ranges::stable_sort(row.settings, {},
                                 [](const SettingUse& use) { return use.entries.empty(); });
        row.rule = place_of(firewall, by);
        row.origin = origin_of(by);
        row.packets = opening.packets;
        row.state = opening.state;
        row.breadth = breadth(opening);
        rows.push_back(std::move(row));
    }
    sort_by_breadth(rows);
    return rows;
}

}  // namespace

std::vector<ExposureRow> open_rows(const Firewall& firewall, const PacketSpace& space,
                                   const RuleSettings& settings, const std::string& in) {
    return rows_of(openings_of(firewall, space, in, cause_by(settings)), firewall, space, settings,
                   in);
}

std::vector<ExposureRow> open_rows_at(const Moment& now, const Moment& other,
                                      const PacketSpace& space, const std::string& in) {
    const ComparedOpenings compared =
        compare_openings(now.firewall, other.firewall, space, in, cause_by(now.settings));
    std::vector<ExposureRow> rows = rows_of(compared.shared, now.firewall, space, now.settings, in);
    const auto add = [&](const Moment& moment, const std::vector<Opening>& openings) {
        for (ExposureRow& row : rows_of(openings, moment.firewall, space, moment.settings, in)) {
            row.when.push_back(moment_text(moment.firewall.plan));
            if (&moment == &other)
                row.packet = clock_words(moment.firewall.plan) + " " + row.packet;
            rows.push_back(std::move(row));
        }
    };
    add(now, compared.beyond);
    add(other,
        compare_openings(other.firewall, now.firewall, space, in, cause_by(other.settings)).beyond);
    sort_by_breadth(rows);
    return rows;
}

std::vector<ExposureRow> opened_rows(const Firewall& firewall, const Firewall& other,
                                     const PacketSpace& space, const RuleSettings& settings,
                                     const std::string& in) {
    // Rules of the other firewall have no settings here, so each stands for itself.
    return rows_of(openings_beyond(firewall, other, space, in), firewall, space, settings, in);
}

std::string open_text(const ExposureRow& row) {
    std::string text = row.proto;
    if (!row.ports.empty()) text += row.ports == "all" ? ", every port," : " " + row.ports;
    text += " from " + row.src + " to " + row.to;
    if (!row.to_ports.empty() && row.to_ports != row.ports) text += " port " + row.to_ports;
    std::string when;
    for (const std::string& condition : row.when) when += (when.empty() ? "" : "; ") + condition;
    return text + (when.empty() ? ", always" : ", only " + when);
}

std::set<std::pair<std::string, std::string>> chains_entered(const Firewall& firewall,
                                                             const PacketSpace& space,
                                                             const std::string& in) {
    RuleUse use;
    const ConnectionState state = ConnectionState::New;
    walk_flows(firewall.rules, firewall.networks, space, {.in = in, .state = state},
               entering(space, state), use);
    std::set<std::pair<std::string, std::string>> entered;
    for (const RulePlace& place : use.met) {
        entered.insert({place.chain->table, place.chain->name});
        if (firewall.tables.find(place.chain->table, place.rule()->target) != nullptr)
            entered.insert({place.chain->table, place.rule()->target});
    }
    return entered;
}
