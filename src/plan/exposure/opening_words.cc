// Turns products of field values into words, never into bit patterns.

#include "plan/exposure/opening_words.h"

#include <algorithm>
#include <set>

#include "core/text.h"
#include "plan/netfilter/rule_reading.h"

namespace {

constexpr unsigned last_protocol = 255;
constexpr unsigned last_address = 0xffffffff;

// For examples (RFC 5737): a host of the Internet; a port as clients choose them.
constexpr Ipv4 example_host = 0xc6336409;  // 198.51.100.9
constexpr unsigned example_port = 40000;

std::vector<NumberRange> others(const std::vector<NumberRange>& ranges, unsigned first,
                                unsigned last) {
    std::vector<NumberRange> rest;
    unsigned next = first;
    for (const NumberRange& range : ranges) {
        if (range.first > next) rest.push_back({.first = next, .last = range.first - 1});
        if (range.last >= last) return rest;
        next = range.last + 1;
    }
    rest.push_back({.first = next, .last = last});
    return rest;
}

template <typename Text>
std::string list_text(const std::vector<NumberRange>& ranges, Text text) {
    std::string list;
    for (const NumberRange& range : ranges) list += (list.empty() ? "" : ", ") + text(range);
    return list;
}

std::string numbers_text(const std::vector<NumberRange>& ranges) {
    return list_text(ranges, [](const NumberRange& range) {
        return std::to_string(range.first) +
               (range.last > range.first ? "-" + std::to_string(range.last) : "");
    });
}

std::string address_range_text(const NumberRange& range) {
    if (range.first == range.last) return quad_text(range.first);
    const unsigned size = range.last - range.first;
    // A whole network: its size is a power of two, and it begins at a multiple of it.
    if ((size & (size + 1)) == 0 && (range.first & size) == 0) {
        int bits = 32;
        for (unsigned rest = size; rest != 0; rest >>= 1) bits--;
        return quad_text(range.first) + "/" + std::to_string(bits);
    }
    return quad_text(range.first) + "-" + quad_text(range.last);
}

std::string protocol_names(const std::vector<NumberRange>& ranges) {
    std::vector<std::string> names;
    for (const NumberRange& range : ranges) {
        if (range.last - range.first > 3) {
            names.push_back("protocols " + numbers_text({range}));
            continue;
        }
        for (unsigned number = range.first; number <= range.last; number++) {
            const std::string name = protocol_text(number);
            const bool named = name != std::to_string(number);
            names.push_back(named ? name : "protocol " + name);
        }
    }
    std::string text;
    for (size_t i = 0; i < names.size(); i++) {
        const char* const between = i + 1 == names.size() ? " and " : ", ";
        text += (i == 0 ? "" : between) + names[i];
    }
    return text;
}

std::string icmp_name(unsigned type) {
    const std::string name = icmp_type_text(type);
    return name == std::to_string(type) ? "type " + name : name;
}

// "100/s" as "at most 100 a second".
std::string rate_text(std::string_view rate) {
    const std::string number(take_field(rate, '/'));
    for (const char* unit : {"second", "minute", "hour", "day"})
        if (std::string_view(unit).starts_with(rate)) return "at most " + number + " a " + unit;
    return "at most " + number;
}

// "a", "b" and 5 more
std::string quoted_list(const std::vector<std::string>& texts, const char* last_word) {
    constexpr size_t shown = 3;
    std::string text;
    for (size_t i = 0; i < std::min(texts.size(), shown); i++) {
        const bool last = i + 1 == texts.size();
        text += (i == 0 ? "\""
                 : last ? std::string(" ") + last_word + " \""
                        : ", \"") +
                texts[i] + "\"";
    }
    if (texts.size() > shown)
        text += std::string(" ") + last_word + " " + std::to_string(texts.size() - shown) +
                " other texts";
    return text;
}

// Which texts the payload has or lacks.
void put_payload_conditions(std::vector<std::string>& list, const PacketSpace& space,
                            const PacketSet& rest) {
    std::vector<std::string> present;
    std::vector<std::string> absent;
    std::vector<std::string> open;
    PacketSet any_open;
    for (const std::string& text : space.payloads_that_matter(rest)) {
        const PacketSet with = space.passing({.field = Field::Payload, .text = text});
        if (rest.is_within(with)) {
            present.push_back(text);
        } else if ((rest & with).is_empty()) {
            absent.push_back(text);
        } else {
            open.push_back(text);
            any_open = any_open | with;
        }
    }
    if (!present.empty()) list.push_back("if the payload contains " + quoted_list(present, "and"));
    if (absent.size() == 1)
        list.push_back("if the payload does not contain " + quoted_list(absent, "or"));
    else if (!absent.empty())
        list.push_back("if the payload contains none of " + quoted_list(absent, "and"));
    if (!open.empty())
        list.push_back(std::string(rest.is_within(any_open)
                                       ? "if the payload contains "
                                       : "depending on whether the payload contains ") +
                       quoted_list(open, "or"));
}

}  // namespace

std::string ports_text(const std::vector<NumberRange>& ports) {
    if (ports.empty()) return "";
    const std::vector<NumberRange> missing = others(ports, 0, last_port);
    // Port 0 is used by nobody, so it is not worth a word.
    const bool all =
        missing.empty() || (missing.size() == 1 && missing[0].first == 0 && missing[0].last == 0);
    if (all) return "all";
    if (missing.size() < ports.size()) return "all but " + numbers_text(missing);
    return numbers_text(ports);
}

std::string protocols_text(const Opening& opening) {
    std::string text = protocol_names(opening.protocols);
    const std::vector<NumberRange> missing = others(opening.protocols, 1, last_protocol);
    constexpr size_t few = 4;
    if (missing.empty())
        text = "any protocol";
    else if (missing.size() < few && opening.protocols.back().last == last_protocol)
        text = "any protocol but " + protocol_names(missing);
    if (opening.icmp_types.empty()) return text;
    std::string types;
    for (const NumberRange& range : opening.icmp_types)
        for (unsigned type = range.first; type <= range.last; type++)
            types += (types.empty() ? "" : ", ") + icmp_name(type);
    return text + " " + types;
}

std::string addresses_text(const std::vector<NumberRange>& addresses) {
    return list_text(addresses, address_range_text);
}

std::string sources_text(const PacketSpace& space, const Networks& networks,
                         const Opening& opening) {
    const PacketSet sources = space.with(Field::Source, opening.sources);
    const PacketSet missing =
        PacketSet::everything() - sources - unroutable(space, networks, Field::Source);
    if (missing.is_empty()) return "anyone";
    const std::vector<NumberRange> others_of = space.values(missing, Field::Source);
    if (others_of.size() < opening.sources.size()) return "anyone but " + addresses_text(others_of);
    return addresses_text(opening.sources);
}

std::string target_text(const PacketSpace& space, const Networks& networks,
                        const Opening& opening) {
    if (opening.to) return networks.is_own(*opening.to) ? "router" : quad_text(*opening.to);
    const PacketSet set = space.with(Field::Destination, opening.destinations);
    const auto has = [&](Ipv4 address) {
        return !(set & space.with(Field::Destination, address)).is_empty();
    };
    if (opening.out.empty()) {
        const auto own = networks.addresses.find(opening.in);
        if (own != networks.addresses.end() && has(own->second)) return "router";
        std::string list;
        std::set<Ipv4> addresses;
        for (const auto& [name, address] : networks.addresses)
            if (has(address) && addresses.insert(address).second)
                list += (list.empty() ? "router at " : ", ") + quad_text(address);
        return list.empty() ? "router at " + addresses_text(opening.destinations) : list;
    }
    const PacketSet own = own_addresses(space, networks, Field::Destination) |
                          unroutable(space, networks, Field::Destination);
    PacketSet lan;
    if (networks.lan) {
        const unsigned first = networks.lan->address & networks.lan->mask;
        lan = space.with(Field::Destination, first, first | ~networks.lan->mask);
    }
    if (opening.out == networks.lan_if && (lan - own).is_within(set)) return "LAN";
    if (opening.out == networks.wan_if && (PacketSet::everything() - lan - own).is_within(set))
        return "anywhere";
    const std::vector<NumberRange> missing = others(opening.destinations, 0, last_address);
    if (missing.size() < opening.destinations.size())
        return "anywhere but " + addresses_text(missing);
    return addresses_text(opening.destinations);
}

std::string target_ports_text(const Opening& opening) {
    if (opening.to_port) return std::to_string(*opening.to_port);
    return ports_text(opening.ports);
}

PacketSet asked_by(const PacketSpace& space, const Rule& rule, const PacketSet& among) {
    PacketSet asked = among;
    for (const Condition& condition : read_rule(rule).conditions) {
        const Field field = condition.test.field;
        if (field == Field::In || field == Field::Out || field == Field::State ||
            field == Field::Mark)
            continue;
        const PacketSet passing = space.passing(condition.test);
        asked = condition.inverted ? asked - passing : asked & passing;
    }
    return asked;
}

std::vector<std::string> conditions_of(const Firewall& firewall, const PacketSpace& space,
                                       const Opening& opening) {
    std::vector<std::string> list;
    if (opening.state == ConnectionState::Related)
        list.emplace_back("related to a connection from inside");
    if (opening.state == ConnectionState::Invalid) list.emplace_back("belongs to no connection");
    if (!opening.source_ports.empty() && ports_text(opening.source_ports) != "all")
        list.push_back("from port " + ports_text(opening.source_ports));
    const PacketSet& rest = opening.rest;
    if (space.depends_on(rest, Field::WithinLimit)) {
        // The rates of the rules that ask for such packets.
        std::string rates;
        for (const Chain& chain : firewall.tables.chains)
            for (const Rule& rule : chain.rules) {
                if (rule.target == "LOG") continue;
                const std::string* const rate = option_of(rule, "--limit");
                if (!rate || asked_by(space, rule, opening.packets).is_empty()) continue;
                const std::string text = rate_text(*rate);
                if (!contains(rates, text)) rates += (rates.empty() ? "" : ", ") + text;
            }
        const bool within = (rest - space.with(Field::WithinLimit, 1)).is_empty();
        list.push_back(within ? rates : "beyond the limit of " + rates);
    }
    put_payload_conditions(list, space, rest);
    if (space.depends_on(rest, Field::Drawn)) list.emplace_back("by a random choice");
    // The places of the addresses that the rules name; 0 stands for all others.
    const std::vector<std::string>& texts = space.texts(Field::MacSource);
    constexpr size_t shown = 3;
    std::string macs;
    size_t count = 0;
    for (const NumberRange& range : opening.mac_sources)
        for (unsigned place = std::max(range.first, 1U); place <= range.last; place++)
            if (place <= texts.size() && ++count <= shown)
                macs += (macs.empty() ? "" : ", ") + texts[place - 1];
    if (count > shown) macs += " or " + std::to_string(count - shown) + " others";
    const bool others_too = !opening.mac_sources.empty() && opening.mac_sources[0].first == 0;
    if (!others_too && count > 0) list.push_back("from the MAC address " + macs);
    if (others_too && count < texts.size())
        list.emplace_back("not from some MAC addresses of the lists");
    return list;
}

Packet witness_of(const PacketSpace& space, const Networks& networks, const PacketSet& packets,
                  const std::string& in, ConnectionState state) {
    PacketSet set = packets;
    const auto prefer = [&](const PacketSet& wish) {
        if (!(set & wish).is_empty()) set = set & wish;
    };
    prefer(space.with(Field::Protocol, protocol_tcp));
    prefer(space.with(Field::Protocol, protocol_udp));
    const auto own = networks.addresses.find(in);
    if (own != networks.addresses.end()) prefer(space.with(Field::Destination, own->second));
    if (in == networks.lan_if && networks.lan) {
        constexpr unsigned host = 100;
        prefer(space.with(Field::Source, (networks.lan->address & networks.lan->mask) | host));
        prefer(space.with(Field::Destination, example_host));
    } else {
        prefer(space.with(Field::Source, example_host));
        constexpr unsigned host = 100;
        if (networks.lan)
            prefer(space.with(Field::Destination,
                              (networks.lan->address & networks.lan->mask) | host));
    }
    prefer(space.with(Field::SourcePort, example_port));
    prefer(space.with(Field::DestinationPort, 1, last_port));
    prefer(space.with(Field::IcmpType, 8));
    prefer(space.with(Field::TcpFlags, state == ConnectionState::New ? Syn : Ack));
    prefer(space.with(Field::MacSource, 0));
    prefer(space.with(Field::MacDest, 0));
    prefer(space.with(Field::WithinLimit, 1));
    prefer(space.with(Field::Drawn, 1));
    constexpr unsigned usual_mss = 1460;
    prefer(space.with(Field::Mss, usual_mss));
    Packet packet = space.one_of(set);
    packet.in = in;
    packet.state = state;
    return packet;
}

std::string packet_words(const Packet& packet) {
    std::string words = "--in " + packet.in + " --proto " + protocol_text(packet.protocol);
    if (packet.source) words += " --src " + quad_text(*packet.source);
    if (packet.destination) words += " --dst " + quad_text(*packet.destination);
    if (packet.source_port) words += " --sport " + std::to_string(*packet.source_port);
    if (packet.destination_port) words += " --dport " + std::to_string(*packet.destination_port);
    if (packet.icmp_type) words += " --icmp-type " + std::to_string(*packet.icmp_type);
    if (packet.state == ConnectionState::Related) words += " --state related";
    if (packet.state == ConnectionState::Invalid) words += " --state invalid";
    if (packet.state == ConnectionState::Established) words += " --state established";
    const bool usual = packet.state == ConnectionState::New && packet.tcp_flags == Syn;
    if (packet.tcp_flags && !usual) words += " --flags " + tcp_flags_text(*packet.tcp_flags);
    if (packet.mac_source) words += " --mac-source " + *packet.mac_source;
    if (packet.mac_dest) words += " --mac-dest " + *packet.mac_dest;
    if (packet.payload) words += " --string '" + *packet.payload + "'";
    if (packet.over_limit) words += " --over-limit";
    if (packet.not_drawn) words += " --not-drawn";
    return words;
}
