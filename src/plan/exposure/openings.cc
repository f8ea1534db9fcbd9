// Splits the sets of accepted packets into products.

#include "plan/exposure/openings.h"

#include <algorithm>

#include "core/text.h"

namespace {

bool has_ports(unsigned protocol) {
    return protocol == protocol_tcp || protocol == protocol_udp;
}

bool is_every_port(const std::vector<NumberRange>& ports) {
    return ports.size() == 1 && ports[0].first == 0 && ports[0].last == last_port;
}

bool same(const std::vector<NumberRange>& one, const std::vector<NumberRange>& other) {
    return std::ranges::equal(one, other, [](const NumberRange& a, const NumberRange& b) {
        return a.first == b.first && a.last == b.last;
    });
}

void add_ranges(std::vector<NumberRange>& ranges, const std::vector<NumberRange>& more) {
    ranges.insert(ranges.end(), more.begin(), more.end());
    std::ranges::sort(ranges, {}, &NumberRange::first);
    std::vector<NumberRange> joined;
    for (const NumberRange& range : ranges) {
        if (!joined.empty() && range.first <= joined.back().last + 1)
            joined.back().last = std::max(joined.back().last, range.last);
        else
            joined.push_back(range);
    }
    ranges = std::move(joined);
}

// Splits one set of accepted packets by one field after the other.
class Splitter {
  public:
    Splitter(const PacketSpace& space, const Opening& common)
        : space_(space),
          common_(common),
          all_types_(space.values(
              entering(space, common.state) & space.with(Field::Protocol, protocol_icmp),
              Field::IcmpType)) {}

    std::vector<Opening> split(const PacketSet& packets) {
        for (const PacketPart& by_mac : space_.parts(packets, Field::MacSource))
            // They are all sent to the router's own address.
            for (const PacketPart& by_frame : space_.parts(by_mac.rest, Field::MacDest)) {
                macs_ = by_mac.values;
                split_by_ports(by_frame.rest);
            }
        for (Opening& opening : found_) opening.packets = packets & product_of(opening);
        return std::move(found_);
    }

  private:
    const PacketSpace& space_;
    const Opening& common_;
    // Of icmp in this state.
    std::vector<NumberRange> all_types_;
    std::vector<NumberRange> macs_;
    std::vector<Opening> found_;

    void split_by_ports(const PacketSet& packets) {
        for (const PacketPart& by_protocol : space_.parts(packets, Field::Protocol))
            for (const PacketPart& by_port : space_.parts(by_protocol.rest, Field::DestinationPort))
                for (const PacketPart& by_type : space_.parts(by_port.rest, Field::IcmpType))
                    split_by_hosts(by_protocol.values, by_port.values, by_type);
    }

    void split_by_hosts(const std::vector<NumberRange>& protocols,
                        const std::vector<NumberRange>& ports, const PacketPart& by_type) {
        for (const PacketPart& by_source : space_.parts(by_type.rest, Field::Source))
            for (const PacketPart& by_destination :
                 space_.parts(by_source.rest, Field::Destination))
                for (const PacketPart& by_port :
                     space_.parts(by_destination.rest, Field::SourcePort))
                    // The flags are those of the protocol.
                    for (const PacketPart& by_flags : space_.parts(by_port.rest, Field::TcpFlags)) {
                        Opening opening = common_;
                        opening.mac_sources = macs_;
                        opening.protocols = protocols;
                        if (has_ports(protocols[0].first)) {
                            opening.ports = ports;
                            opening.source_ports = by_port.values;
                        }
                        if (protocols[0].first == protocol_icmp &&
                            !same(by_type.values, all_types_))
                            opening.icmp_types = by_type.values;
                        opening.sources = by_source.values;
                        opening.destinations = by_destination.values;
                        opening.rest = by_flags.rest;
                        add(std::move(opening));
                    }
    }

    // Protocols that are treated alike are one opening.
    void add(Opening opening) {
        const auto alike = std::ranges::find_if(found_, [&](const Opening& other) {
            const bool same_ports =
                same(other.ports, opening.ports) && same(other.source_ports, opening.source_ports);
            return same_ports && same(other.mac_sources, opening.mac_sources) &&
                   opening.icmp_types.empty() && other.icmp_types.empty() &&
                   same(other.sources, opening.sources) &&
                   same(other.destinations, opening.destinations) && other.rest == opening.rest;
        });
        if (alike == found_.end())
            found_.push_back(std::move(opening));
        else
            add_ranges(alike->protocols, opening.protocols);
    }

    PacketSet product_of(const Opening& opening) const {
        PacketSet set = space_.with(Field::MacSource, opening.mac_sources) &
                        space_.with(Field::Protocol, opening.protocols) &
                        space_.with(Field::Source, opening.sources) &
                        space_.with(Field::Destination, opening.destinations) & opening.rest;
        if (!opening.ports.empty())
            set = set & space_.with(Field::DestinationPort, opening.ports) &
                  space_.with(Field::SourcePort, opening.source_ports);
        if (!opening.icmp_types.empty())
            set = set & space_.with(Field::IcmpType, opening.icmp_types);
        return set;
    }
};

// Accepted packets that were treated alike, for the same cause.
struct Group {
    std::string cause;
    Opening common;
    PacketSet packets;
};

void add_to_group(std::vector<Group>& groups, const std::string& cause, const Opening& common,
                  const PacketSet& packets) {
    const auto alike = std::ranges::find_if(groups, [&](const Group& group) {
        return group.common.out == common.out && group.common.to == common.to &&
               group.common.to_port == common.to_port && group.cause == cause &&
               group.common.translated_by == common.translated_by;
    });
    if (alike == groups.end())
        return groups.push_back({.cause = cause, .common = common, .packets = packets});
    alike->packets = alike->packets | packets;
    if (std::ranges::count(alike->common.by, common.by[0]) == 0)
        alike->common.by.push_back(common.by[0]);
}

std::string rule_word(const RulePlace& place) {
    return place.chain == nullptr
               ? ""
               : place.chain->table + " " + place.chain->name + " " + std::to_string(place.number);
}

// Protocols with all ports and those without ports, if nothing else tells them apart.
void join_whole_protocols(std::vector<Opening>& openings) {
    for (size_t i = 0; i < openings.size(); i++) {
        if (!is_every_port(openings[i].ports) || !is_every_port(openings[i].source_ports)) continue;
        for (size_t k = 0; k < openings.size(); k++) {
            const Opening& other = openings[k];
            const bool joins = k != i && other.ports.empty() && other.icmp_types.empty() &&
                               same(other.mac_sources, openings[i].mac_sources) &&
                               same(other.sources, openings[i].sources) &&
                               same(other.destinations, openings[i].destinations) &&
                               other.rest == openings[i].rest;
            if (!joins) continue;
            add_ranges(openings[i].protocols, other.protocols);
            openings[i].packets = openings[i].packets | other.packets;
            openings.erase(openings.begin() + static_cast<ptrdiff_t>(k));
            if (k < i) i--;
            k--;
        }
    }
}

}  // namespace

std::string assume_wan_address(World& router) {
    const Networks networks = networks_of(router);
    if (networks.wan_if.empty() || networks.addresses.contains(networks.wan_if)) return "";
    constexpr const char* example = "203.0.113.7";
    router.interfaces[networks.wan_if].address = example;
    return example;
}

Firewall::Firewall(const Plan& of) : Firewall(of, netfilter_of(of.after.transcript, of.before)) {}

Firewall::Firewall(const Plan& of, Netfilter other)
    : plan(of), tables(std::move(other)), networks(networks_of(of.after.world)), rules(tables) {}

PacketSet entering(const PacketSpace& space, ConnectionState state) {
    PacketSet set = space.possible(state) & space.with(Field::MacDest, 0);
    // A packet in the middle of a connection, which the kernel takes up too, starts none.
    if (state == ConnectionState::New)
        set = set - (space.with(Field::Protocol, protocol_tcp) - space.with(Field::TcpFlags, Syn));
    return set;
}

namespace {

std::vector<Group> groups_of(const Firewall& firewall, const PacketSpace& space,
                             const std::string& in, ConnectionState state, const Cause& cause) {
    RuleUse unused;
    std::vector<Group> groups;
    for (const Fate& fate :
         walk_flows(firewall.rules, firewall.networks, space, {.in = in, .state = state},
                    entering(space, state), unused)) {
        if (!fate.accepted || fate.flow.packets.is_empty()) continue;
        Opening common;
        common.in = in;
        common.state = state;
        common.out = fate.out;
        common.to = fate.flow.destination;
        common.to_port = fate.flow.port;
        common.by = {fate.by};
        common.translated_by = fate.flow.translated_by;
        // Translated packets are one opening for each forward, whichever rule accepts them. Packets
        // of no new connection that leave by the interface they came from reach nobody, so they are
        // left out.
        if (state != ConnectionState::New && fate.out == in) continue;
        std::string why;
        if (state == ConnectionState::New && !common.translated_by)
            why = cause ? cause(fate.by) : rule_word(fate.by);
        add_to_group(groups, why, common, fate.flow.packets);
    }
    return groups;
}

// The packets that two openings lead to the same place. A translation may lead to the address and
// port that a packet has anyway.
PacketSet led_alike(const PacketSpace& space, const Opening& one, const Opening& other) {
    if (one.out != other.out) return {};
    const auto same = [&](Field field, const auto& to, const auto& other_to) {
        if (to == other_to) return PacketSet::everything();
        if (to && other_to) return PacketSet();
        return space.with(field, to ? *to : *other_to);
    };
    return same(Field::Destination, one.to, other.to) &
           same(Field::DestinationPort, one.to_port, other.to_port);
}

void add_openings(std::vector<Opening>& all, const PacketSpace& space, const Group& group) {
    std::vector<Opening> parts = Splitter(space, group.common).split(group.packets);
    join_whole_protocols(parts);
    for (Opening& part : parts) all.push_back(std::move(part));
}

// In which packets may enter that the router did not ask for.
constexpr ConnectionState uninvited[] = {ConnectionState::New, ConnectionState::Related,
                                         ConnectionState::Invalid};

// A group's packets that one of the others leads to the same place.
PacketSet shared_with(const PacketSpace& space, const Group& group,
                      const std::vector<Group>& others) {
    PacketSet shared;
    for (const Group& known : others)
        shared = shared | (known.packets & led_alike(space, group.common, known.common));
    return group.packets & shared;
}

}  // namespace

std::vector<Opening> openings_of(const Firewall& firewall, const PacketSpace& space,
                                 const std::string& in, const Cause& cause) {
    std::vector<Opening> all;
    for (const ConnectionState state : uninvited)
        for (const Group& group : groups_of(firewall, space, in, state, cause))
            add_openings(all, space, group);
    return all;
}

std::vector<Opening> openings_beyond(const Firewall& firewall, const Firewall& other,
                                     const PacketSpace& space, const std::string& in) {
    const std::vector<Group> others = groups_of(other, space, in, ConnectionState::New, {});
    std::vector<Opening> all;
    for (Group group : groups_of(firewall, space, in, ConnectionState::New, {})) {
        group.packets = group.packets - shared_with(space, group, others);
        if (!group.packets.is_empty()) add_openings(all, space, group);
    }
    return all;
}

ComparedOpenings compare_openings(const Firewall& firewall, const Firewall& other,
                                  const PacketSpace& space, const std::string& in,
                                  const Cause& cause) {
    ComparedOpenings compared;
    for (const ConnectionState state : uninvited) {
        const std::vector<Group> others = groups_of(other, space, in, state, {});
        for (Group group : groups_of(firewall, space, in, state, cause)) {
            const PacketSet all = group.packets;
            group.packets = shared_with(space, group, others);
            const PacketSet beyond = all - group.packets;
            if (!group.packets.is_empty()) add_openings(compared.shared, space, group);
            group.packets = beyond;
            if (!group.packets.is_empty()) add_openings(compared.beyond, space, group);
        }
    }
    return compared;
}
