// Packets from the LAN that a block asks for, and that get past it.

#include <algorithm>
#include <map>

#include "plan/exposure/exposure.h"
#include "plan/exposure/opening_words.h"

namespace {

// Of the packets that a LAN host sends.
constexpr ConnectionState sent_states[] = {ConnectionState::New, ConnectionState::Established};

// Whether a rule drops what it asks for: itself, or by the last rule of the chain that it jumps to.
bool blocks(const Netfilter& tables, const Chain& chain, const Rule& rule) {
    if (rule.target == "DROP" || rule.target == "REJECT") return true;
    const Chain* const next = tables.find(chain.table, rule.target);
    return next != nullptr && !next->rules.empty() && next->rules.back().target == "DROP" &&
           read_rule(next->rules.back()).conditions.empty();
}

std::string list_of(const std::vector<SettingUse>& uses) {
    std::string text;
    for (const SettingUse& use : uses)
        if (!use.entries.empty()) text += (text.empty() ? "" : ", ") + use.text();
    if (text.empty())
        for (const SettingUse& use : uses) text += (text.empty() ? "" : ", ") + use.text();
    return text;
}

// What lets packets past the blocks of one setting.
struct Escape {
    std::string past;
    std::vector<SettingUse> because;
    RulePlace by;
    PacketSet packets;
    ConnectionState state;
};

bool same_keys(const std::vector<SettingUse>& one, const std::vector<SettingUse>& other) {
    return std::ranges::equal(one, other, {}, &SettingUse::key, &SettingUse::key);
}

}  // namespace

std::vector<ExposureRow> escape_rows(const Firewall& firewall, const PacketSpace& space,
                                     const RuleSettings& settings) {
    // The blocks of one setting in one chain are watched together.
    std::map<RulePlace, RulePlace> watched;
    std::map<std::pair<const Chain*, std::string>, RulePlace> leaders;
    for (const Chain& chain : firewall.tables.chains)
        for (size_t number = 1; number <= chain.rules.size(); number++) {
            const RulePlace place = {.chain = &chain, .number = number};
            if (chain.table != "filter" || !blocks(firewall.tables, chain, *place.rule())) continue;
            const std::vector<SettingUse> uses = settings.of(place);
            if (!is_of_a_list(uses)) continue;
            watched[place] = leaders.try_emplace({&chain, uses.front().key}, place).first->second;
        }
    if (watched.empty()) return {};
    const std::string& in = firewall.networks.lan_if;
    std::vector<Escape> escapes;
    for (const ConnectionState state : sent_states) {
        RuleUse use;
        use.watched = watched;
        walk_flows(firewall.rules, firewall.networks, space, {.in = in, .state = state},
                   space.with(Field::MacDest, 0), use);
        for (const auto& [place, takings] : use.taken)
            for (const RuleUse::Taking& taking : takings) {
                if (!taking.accepted) continue;
                const std::string past = settings.of(place).front().key;
                const std::vector<SettingUse> because = settings.of(taking.by);
                const auto known = std::ranges::find_if(escapes, [&](const Escape& other) {
                    return other.past == past && other.state == state &&
                           (other.by == taking.by ||
                            (is_of_a_list(because) && same_keys(other.because, because)));
                });
                if (known == escapes.end()) {
                    escapes.push_back({past, because, taking.by, taking.packets, state});
                } else {
                    known->packets = known->packets | taking.packets;
                    add_uses(known->because, because);
                }
            }
    }
    std::vector<ExposureRow> rows;
    for (const Escape& escape : escapes) {
        ExposureRow row;
        row.kind = ExposureRow::Kind::Escape;
        row.from = in;
        row.to = escape.past;
        row.settings = escape.because;
        row.rule = place_of(firewall, escape.by);
        row.state = escape.state;
        row.packets = escape.packets;
        Opening who;
        who.sources = space.values(row.packets, Field::Source);
        who.protocols = space.values(row.packets, Field::Protocol);
        row.src = sources_text(space, firewall.networks, who);
        row.proto = protocols_text(who);
        row.packet = packet_words(witness_of(space, firewall.networks, row.packets, in, row.state));
        const bool by_mac = (row.packets & space.with(Field::MacSource, 0)).is_empty();
        const std::string cause = list_of(row.settings);
        row.why =
            (by_mac ? std::string("hosts with certain MAC addresses get") : row.src + " gets") +
            " past " + row.to + ": " + (cause.empty() ? "a rule of rc's own" : cause) + " lets " +
            row.proto + " through before";
        rows.push_back(std::move(row));
    }
    return rows;
}
