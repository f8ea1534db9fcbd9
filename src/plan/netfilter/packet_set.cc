// Sets of packets.

#include "plan/netfilter/packet_set.h"

#include <algorithm>
#include <bit>
#include <map>

#include "core/text.h"

namespace {

// The kernel tracks only these ICMP messages as the begin of a connection (nf_conntrack).
constexpr unsigned icmp_requests[] = {8, 13, 15, 17};

constexpr int port_bits = 16;
constexpr int address_bits = 32;

// Lists of MAC addresses are long, and a rule for one then only looks at the first levels.
constexpr Field in_order[] = {
    Field::MacSource, Field::MacDest,     Field::Protocol,    Field::DestinationPort,
    Field::IcmpType,  Field::Source,      Field::Destination, Field::SourcePort,
    Field::TcpFlags,  Field::WithinLimit, Field::Drawn,       Field::Payload,
    Field::Mss};

int width_of(Field field) {
    switch (field) {
        case Field::Protocol:
        case Field::IcmpType:
            return 8;
        case Field::DestinationPort:
        case Field::SourcePort:
        case Field::Mss:
            return port_bits;
        case Field::Source:
        case Field::Destination:
            return address_bits;
        case Field::TcpFlags:
            return 6;
        case Field::WithinLimit:
        case Field::Drawn:
            return 1;
        default:
            return 0;
    }
}

void add_once(std::vector<std::string>& list, const std::string& text) {
    if (std::ranges::count(list, text) == 0) list.push_back(text);
}

// The greatest number of that many bits.
unsigned greatest(int bits) {
    constexpr int most = 32;
    return bits == 0 ? 0 : 0xffffffffu >> (most - bits);
}

}  // namespace

PacketSpace::PacketSpace(std::span<const Netfilter* const> tables) {
    for (const Netfilter* each : tables) add_texts(*each);
    // Rules take their packets out of the rest one after the other. With the last rule's text at
    // the top of the diagram, each step adds to it instead of making it anew.
    std::ranges::reverse(payloads_);
    // The library does not survive being ended and begun again, so it stays.
    if (bdd_isrunning() == 0) {
        // The table grows if it has to, which takes longer than to begin with enough.
        size_t rules = 0;
        for (const Netfilter* each : tables)
            for (const Chain& chain : each->chains) rules += chain.rules.size();
        constexpr size_t many_rules = 300;
        const int nodes = rules < many_rules ? 100000 : 650000;
        bdd_init(nodes, nodes / 3);
        // It reports each collection of unused nodes on standard output otherwise.
        bdd_gbc_hook(nullptr);
        // The cache grows with the nodes.
        constexpr int nodes_for_an_entry = 3;
        bdd_setcacheratio(nodes_for_an_entry);
    }
    const Variables last = variables(Field::Mss);
    if (bdd_varnum() < last.first + last.count) bdd_setvarnum(last.first + last.count);
}

void PacketSpace::add_texts(const Netfilter& tables) {
    for (const Chain& chain : tables.chains)
        for (const Rule& rule : chain.rules)
            for (const Condition& condition : read_rule(rule).conditions) {
                const FieldTest& test = condition.test;
                if (test.field == Field::MacSource) add_once(mac_sources_, test.text);
                if (test.field == Field::MacDest) add_once(mac_dests_, test.text);
                if (test.field == Field::Payload) add_once(payloads_, test.text);
            }
}

const std::vector<std::string>& PacketSpace::texts(Field field) const {
    if (field == Field::MacSource) return mac_sources_;
    return field == Field::MacDest ? mac_dests_ : payloads_;
}

PacketSpace::Variables PacketSpace::variables(Field field) const {
    int first = 0;
    for (const Field each : in_order) {
        int count = width_of(each);
        // Places in the lists, 0 being none of them.
        if (each == Field::MacSource || each == Field::MacDest)
            count = static_cast<int>(std::bit_width(texts(each).size()));
        if (each == Field::Payload) count = static_cast<int>(payloads_.size());
        if (each == field) return {.first = first, .count = count};
        first += count;
    }
    return {};
}

// Bit by bit from the last one, so that each step adds one node.
PacketSet PacketSpace::with(Field field, unsigned first, unsigned last) const {
    const auto known = made_.find({field, first, last});
    if (known != made_.end()) return known->second;
    return made_[{field, first, last}] = made_with(field, first, last);
}

PacketSet PacketSpace::made_with(Field field, unsigned first, unsigned last) const {
    const Variables place = variables(field);
    PacketSet at_least = PacketSet::everything();
    PacketSet at_most = PacketSet::everything();
    for (int i = place.count - 1; i >= 0; i--) {
        const PacketSet one = bit(place.first + i);
        const unsigned value = 1u << (place.count - 1 - i);
        at_least = (first & value) != 0 ? one & at_least : one | at_least;
        at_most = (last & value) != 0 ? at_most | (PacketSet::everything() - one) : at_most - one;
    }
    const unsigned most = place.count == 0 ? 0 : greatest(place.count);
    if (first > last || first > most) return {};
    return last >= most ? at_least : at_least & at_most;
}

PacketSet PacketSpace::with(Field field, const std::vector<NumberRange>& ranges) const {
    PacketSet set;
    for (const NumberRange& range : ranges) set = set | with(field, range.first, range.last);
    return set;
}

PacketSet PacketSpace::passing(const FieldTest& test) const {
    const auto place_in = [&](const std::vector<std::string>& list) {
        return static_cast<unsigned>(std::ranges::find(list, test.text) - list.begin());
    };
    switch (test.field) {
        case Field::MacSource:
        case Field::MacDest:
            return with(test.field, place_in(texts(test.field)) + 1);
        case Field::Payload:
            return bit(variables(Field::Payload).first + static_cast<int>(place_in(payloads_)));
        case Field::WithinLimit:
        case Field::Drawn:
            return with(test.field, 1);
        // Only a SYN announces an MSS.
        case Field::Mss:
            return with(test.field, test.first, test.last) &
                   passing({.field = Field::TcpFlags, .mask = Syn, .first = Syn, .last = Syn});
        default:
            break;
    }
    if (test.first != test.last) return with(test.field, test.first, test.last);
    // The bits that count.
    const Variables place = variables(test.field);
    PacketSet set = PacketSet::everything();
    for (int i = place.count - 1; i >= 0; i--) {
        const unsigned value = 1u << (place.count - 1 - i);
        if ((test.mask & value) == 0) continue;
        const PacketSet one = bit(place.first + i);
        set = (test.first & value) != 0 ? set & one : set - one;
    }
    return (test.first & ~test.mask) == 0 ? set : PacketSet();
}

PacketSet PacketSpace::possible(ConnectionState state) const {
    const PacketSet tcp = with(Field::Protocol, protocol_tcp);
    const PacketSet icmp = with(Field::Protocol, protocol_icmp);
    const PacketSet ports = tcp | with(Field::Protocol, protocol_udp);
    PacketSet flags;
    for (unsigned set = 0; set <= greatest(width_of(Field::TcpFlags)); set++) {
        bool fits = are_tracked(set);
        if (state == ConnectionState::New) fits = begin_connection(set);
        if (state == ConnectionState::Invalid) fits = true;
        if (fits) flags = flags | with(Field::TcpFlags, set);
    }
    PacketSet types = PacketSet::everything();
    if (state == ConnectionState::New) {
        types = PacketSet();
        for (const unsigned type : icmp_requests) types = types | with(Field::IcmpType, type);
    }
    const PacketSet no_ports = with(Field::SourcePort, 0) & with(Field::DestinationPort, 0);
    PacketSet set = (tcp & flags) | (with(Field::TcpFlags, 0) - tcp);
    set = set & (ports | no_ports);
    set = set & ((icmp & types) | (with(Field::IcmpType, 0) - icmp));
    // Protocol 0 stands for every protocol in a rule.
    set = set - with(Field::Protocol, 0);
    set = set & with(Field::MacSource, 0, static_cast<unsigned>(mac_sources_.size()));
    set = set & with(Field::MacDest, 0, static_cast<unsigned>(mac_dests_.size()));
    const int first = variables(Field::Payload).first;
    for (size_t i = 0; i < payloads_.size(); i++)
        for (size_t k = 0; k < payloads_.size(); k++)
            if (i != k && contains(payloads_[i], payloads_[k]))
                set = set - (bit(first + static_cast<int>(i)) - bit(first + static_cast<int>(k)));
    return set;
}

namespace {

// Walks the diagram's levels of one field, whose value grows with the branches taken.
struct FieldWalk {
    int first = 0;
    int count = 0;
    // By the rest's number in the library, so that equal rests come together.
    struct Found {
        bdd rest;
        std::vector<NumberRange> values;
    };
    std::map<int, Found> found = {};

    void walk(const bdd& node, int level, unsigned value) {
        if (node == bddfalse) return;
        const int end = first + count;
        const int variable = node == bddtrue ? end : bdd_var(node);
        if (variable >= end) return add(node, value, value | greatest(end - level));
        const unsigned one = 1u << (end - level - 1);
        const bool asks = variable == level;
        walk(asks ? bdd_low(node) : node, level + 1, value);
        walk(asks ? bdd_high(node) : node, level + 1, value | one);
    }

    void add(const bdd& rest, unsigned from, unsigned to) {
        Found& place = found[rest.id()];
        place.rest = rest;
        if (!place.values.empty() && place.values.back().last + 1 == from)
            place.values.back().last = to;
        else
            place.values.push_back({.first = from, .last = to});
    }
};

}  // namespace

std::vector<PacketPart> PacketSpace::parts(const PacketSet& set, Field field) const {
    const Variables place = variables(field);
    FieldWalk walk = {.first = place.first, .count = place.count};
    walk.walk(set.set_, place.first, 0);
    std::vector<PacketPart> all;
    for (auto& [number, part] : walk.found)
        all.push_back({.values = std::move(part.values), .rest = PacketSet(part.rest)});
    std::ranges::sort(all, {}, [](const PacketPart& part) { return part.values.front().first; });
    return all;
}

std::vector<NumberRange> PacketSpace::values(const PacketSet& set, Field field) const {
    const Variables place = variables(field);
    const int all = bdd_varnum();
    std::vector<int> others;
    for (int i = 0; i < all; i++)
        if (i < place.first || i >= place.first + place.count) others.push_back(i);
    const bdd cube = bdd_makeset(others.data(), static_cast<int>(others.size()));
    const std::vector<PacketPart> only = parts(PacketSet(bdd_exist(set.set_, cube)), field);
    return only.empty() ? std::vector<NumberRange>() : only.front().values;
}

// The variables that it depends on, as places among those of the field.
std::vector<size_t> PacketSpace::used_bits(const PacketSet& set, Field field) const {
    std::vector<size_t> used;
    const Variables place = variables(field);
    for (bdd node = bdd_support(set.set_); node != bddtrue && node != bddfalse;
         node = bdd_high(node)) {
        const int bit = bdd_var(node) - place.first;
        if (bit >= 0 && bit < place.count) used.push_back(static_cast<size_t>(bit));
    }
    return used;
}

bool PacketSpace::depends_on(const PacketSet& set, Field field) const {
    return !used_bits(set, field).empty();
}

std::vector<std::string> PacketSpace::payloads_that_matter(const PacketSet& set) const {
    std::vector<std::string> all;
    for (const size_t bit : used_bits(set, Field::Payload)) all.push_back(payloads_[bit]);
    std::ranges::reverse(all);
    return all;
}

namespace {

// A value for each variable.
class Bits {
  public:
    bool get(int variable) const { return values_[place_of(variable)]; }
    void set(int variable, bool value) { values_[place_of(variable)] = value; }

  private:
    static size_t place_of(int variable) { return static_cast<size_t>(variable); }
    std::vector<bool> values_ = std::vector<bool>(place_of(bdd_varnum()));
};

}  // namespace

// In each field, in their order, the least value: the path that takes the lower branch where it
// can.
Packet PacketSpace::one_of(const PacketSet& set) const {
    Bits bits;
    for (bdd node = set.set_; node != bddtrue && node != bddfalse;) {
        const bdd low = bdd_low(node);
        const bool one = low == bddfalse;
        bits.set(bdd_var(node), one);
        node = one ? bdd_high(node) : low;
    }
    const auto value_of = [&](Field field) {
        const Variables place = variables(field);
        unsigned value = 0;
        for (int i = 0; i < place.count; i++)
            value = value << 1 | (bits.get(place.first + i) ? 1U : 0U);
        return value;
    };
    const auto text_at = [&](Field field) -> std::optional<std::string> {
        const unsigned place = value_of(field);
        if (place == 0) return std::nullopt;
        return texts(field)[place - 1];
    };
    std::string payload;
    int place = variables(Field::Payload).first;
    for (const std::string& text : payloads_)
        if (bits.get(place++) && !contains(payload, text))
            payload += (payload.empty() ? "" : " ") + text;
    Packet packet;
    packet.protocol = value_of(Field::Protocol);
    packet.source = value_of(Field::Source);
    packet.destination = value_of(Field::Destination);
    packet.source_port = value_of(Field::SourcePort);
    packet.destination_port = value_of(Field::DestinationPort);
    packet.tcp_flags = value_of(Field::TcpFlags);
    packet.icmp_type = value_of(Field::IcmpType);
    packet.mac_source = text_at(Field::MacSource);
    packet.mac_dest = text_at(Field::MacDest);
    packet.over_limit = value_of(Field::WithinLimit) == 0;
    packet.not_drawn = value_of(Field::Drawn) == 0;
    packet.mss = value_of(Field::Mss);
    if (!payload.empty()) packet.payload = payload;
    const bool tcp = packet.protocol == protocol_tcp;
    if (!tcp && packet.protocol != protocol_udp)
        packet.source_port = packet.destination_port = std::nullopt;
    if (!tcp) packet.tcp_flags = packet.mss = std::nullopt;
    if (packet.protocol != protocol_icmp) packet.icmp_type.reset();
    return packet;
}

bool PacketSpace::holds(const PacketSet& set, const Packet& packet) const {
    Bits bits;
    const auto put = [&](Field field, unsigned value) {
        const Variables place = variables(field);
        for (int i = 0; i < place.count; i++)
            bits.set(place.first + i, (value >> (place.count - 1 - i) & 1U) != 0);
    };
    const auto put_text = [&](Field field, const std::optional<std::string>& text) {
        const std::vector<std::string>& all = texts(field);
        const auto place = std::ranges::find(all, text.value_or(""));
        put(field, place == all.end() ? 0 : static_cast<unsigned>(place - all.begin()) + 1);
    };
    put(Field::Protocol, packet.protocol);
    put(Field::Source, packet.source.value_or(0));
    put(Field::Destination, packet.destination.value_or(0));
    put(Field::SourcePort, packet.source_port.value_or(0));
    put(Field::DestinationPort, packet.destination_port.value_or(0));
    put(Field::TcpFlags, packet.tcp_flags.value_or(0));
    put(Field::IcmpType, packet.icmp_type.value_or(0));
    put(Field::WithinLimit, packet.over_limit ? 0 : 1);
    put(Field::Drawn, packet.not_drawn ? 0 : 1);
    put(Field::Mss, packet.mss.value_or(0));
    put_text(Field::MacSource, packet.mac_source);
    put_text(Field::MacDest, packet.mac_dest);
    int place = variables(Field::Payload).first;
    for (const std::string& text : payloads_)
        bits.set(place++, packet.payload && contains(*packet.payload, text));
    bdd node = set.set_;
    while (node != bddtrue && node != bddfalse)
        node = bits.get(bdd_var(node)) ? bdd_high(node) : bdd_low(node);
    return node == bddtrue;
}
