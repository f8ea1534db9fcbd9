// Packets from the LAN that a block asks for, and that get past it.

#include <algorithm>
#include <map>

#include "plan/exposure/exposure.h"
#include "plan/exposure/moments.h"
#include "plan/exposure/opening_words.h"
#include "plan/netfilter/saved_rules.h"

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

// Without the reason.
ExposureRow row_of(const Escape& escape, const Firewall& firewall, const PacketSpace& space) {
    ExposureRow row;
    row.kind = ExposureRow::Kind::Escape;
    row.from = firewall.networks.lan_if;
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
    row.packet =
        packet_words(witness_of(space, firewall.networks, row.packets, row.from, row.state));
    return row;
}

// What a LAN host sends to other hosts than the router.
struct Sent {
    PacketSet passed;
    PacketSet stopped;
};

Sent sent_through(const Firewall& firewall, const PacketSpace& space, ConnectionState state) {
    RuleUse unused;
    Sent sent;
    for (const Fate& fate :
         walk_flows(firewall.rules, firewall.networks, space,
                    {.in = firewall.networks.lan_if, .state = state},
                    space.possible(state) & space.with(Field::MacDest, 0), unused)) {
        if (fate.accepted && fate.out.empty()) continue;
        PacketSet& set = fate.accepted ? sent.passed : sent.stopped;
        set = set | fate.flow.packets;
    }
    return sent;
}

// Whether a firewall has the same rule in the same chain.
bool has_rule(const Netfilter& tables, const Chain& chain, const Rule& rule) {
    const Chain* const same = tables.find(chain.table, chain.name);
    return same != nullptr && std::ranges::any_of(same->rules, [&](const Rule& other) {
               return canonical_text(other) == canonical_text(rule);
           });
}

constexpr const char* schedule_keys[] = {"fw_schedule", "fw_schedule2"};

// The lists of times, as far as they have any.
std::vector<SettingUse> schedule_settings(const Plan& plan) {
    std::vector<SettingUse> uses;
    for (const char* key : schedule_keys) {
        const Input input = {.kind = Input::Kind::Setting, .name = key};
        if (!value_of_input(plan.before, input).value_or("").empty())
            uses.push_back({.key = key, .entries = {}});
    }
    return uses;
}

// The settings that ask for a block, lists first: those that only say when are left out.
std::vector<SettingUse> block_settings(const RuleSettings& settings, const RulePlace& place) {
    std::vector<SettingUse> uses = settings.of(place);
    std::erase_if(uses, [](const SettingUse& use) {
        return std::ranges::count(schedule_keys, use.key) != 0;
    });
    return uses;
}

// The packets of data on whose payload a rule decides, whatever their other fields; none if it does
// not look at the payload.
PacketSet with_payload_of(const PacketSpace& space, const Rule& rule) {
    PacketSet set;
    for (const Condition& condition : read_rule(rule).conditions)
        if (condition.test.field == Field::Payload && !condition.inverted)
            set = space.passing(condition.test);
    return set;
}

// "tcp 80", where blocked packets go.
std::string searched_text(const PacketSpace& space, const PacketSet& blocked) {
    Opening where;
    where.protocols = space.values(blocked, Field::Protocol);
    return protocols_text(where) + " " + ports_text(space.values(blocked, Field::DestinationPort));
}

// Data with the texts of a list of keywords that no rule looks at.
std::vector<ExposureRow> unsearched_rows(const Firewall& firewall, const PacketSpace& space,
                                         const RuleSettings& settings,
                                         const std::map<RulePlace, RulePlace>& watched) {
    // By the first rule of each list.
    std::map<RulePlace, PacketSet> texts;
    for (const auto& [place, leader] : watched)
        texts[leader] = texts[leader] | with_payload_of(space, *place.rule());
    std::vector<ExposureRow> rows;
    for (const auto& [leader, with_text] : texts) {
        if (with_text.is_empty()) continue;
        const ConnectionState state = ConnectionState::Established;
        const Sent sent = sent_through(firewall, space, state);
        // Ports where a packet without any of the texts is stopped, too, are blocked as such.
        const PacketSet without = sent.stopped - with_text;
        const PacketSet blocked =
            (sent.stopped & with_text) -
            space.with(Field::DestinationPort, space.values(without, Field::DestinationPort));
        if (blocked.is_empty()) continue;
        const PacketSet searched =
            space.with(Field::Protocol, space.values(blocked, Field::Protocol)) &
            space.with(Field::DestinationPort, space.values(blocked, Field::DestinationPort));
        PacketSet passed = (sent.passed & with_text) - searched;
        if (passed.is_empty()) continue;
        // An example that everybody knows.
        constexpr unsigned https = 443;
        const PacketSet example = passed & space.with(Field::Protocol, protocol_tcp) &
                                  space.with(Field::DestinationPort, https);
        if (!example.is_empty()) passed = example;
        ExposureRow row = row_of({.past = block_settings(settings, leader).front().key,
                                  .because = {},
                                  .by = leader,
                                  .packets = passed,
                                  .state = state},
                                 firewall, space);
        row.why = row.src + " gets past " + row.to + ": only " + searched_text(space, blocked) +
                  " is searched";
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace

std::vector<ExposureRow> schedule_escape_rows(const Moment& now, const Moment& other,
                                              const PacketSpace& space) {
    const bool now_open = schedule_is_open(now.firewall.plan);
    const Moment& open = now_open ? now : other;
    const Moment& closed = now_open ? other : now;
    std::vector<Escape> escapes;
    for (const ConnectionState state : sent_states) {
        const PacketSet escaped = sent_through(closed.firewall, space, state).passed -
                                  sent_through(open.firewall, space, state).passed;
        for (const Chain& chain : open.firewall.tables.chains)
            for (size_t number = 1; number <= chain.rules.size(); number++) {
                const RulePlace place = {.chain = &chain, .number = number};
                const Rule& rule = *place.rule();
                if (chain.table != "filter" || !blocks(open.firewall.tables, chain, rule) ||
                    has_rule(closed.firewall.tables, chain, rule))
                    continue;
                const PacketSet packets = asked_by(space, rule, escaped);
                const std::vector<SettingUse> uses = block_settings(open.settings, place);
                if (packets.is_empty() || uses.empty()) continue;
                const std::string& past = uses.front().key;
                const auto known = std::ranges::find(escapes, past, &Escape::past);
                if (known == escapes.end())
                    escapes.push_back(
                        {past, schedule_settings(open.firewall.plan), place, packets, state});
                else if (known->state == state)
                    known->packets = known->packets | packets;
            }
    }
    std::vector<ExposureRow> rows;
    for (const Escape& escape : escapes) {
        ExposureRow row = row_of(escape, open.firewall, space);
        if (now_open) row.packet = clock_words(other.firewall.plan) + " " + row.packet;
        row.when = {moment_text(closed.firewall.plan)};
        row.why = row.src + " gets past " + row.to + " " + row.when[0];
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<ExposureRow> escape_rows(const Firewall& firewall, const PacketSpace& space,
                                     const RuleSettings& settings) {
    // The blocks of one setting in one chain are watched together.
    std::map<RulePlace, RulePlace> watched;
    std::map<std::pair<const Chain*, std::string>, RulePlace> leaders;
    for (const Chain& chain : firewall.tables.chains)
        for (size_t number = 1; number <= chain.rules.size(); number++) {
            const RulePlace place = {.chain = &chain, .number = number};
            if (chain.table != "filter" || !blocks(firewall.tables, chain, *place.rule())) continue;
            const std::vector<SettingUse> uses = block_settings(settings, place);
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
                const std::string past = block_settings(settings, place).front().key;
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
    std::vector<ExposureRow> rows = unsearched_rows(firewall, space, settings, watched);
    for (const Escape& escape : escapes) {
        ExposureRow row = row_of(escape, firewall, space);
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
