// Draws packets field by field.

#include "packet_drawing.h"

#include <algorithm>

namespace {

constexpr unsigned other_protocols[] = {33, 58, 132, 136};  // DCCP, ICMPv6, SCTP, UDP-Lite

bool has_ports(const Packet& packet) {
    return packet.protocol == protocol_tcp || packet.protocol == protocol_udp;
}

}  // namespace

bool is_made(unsigned protocol) {
    return std::ranges::count(other_protocols, protocol) == 0;
}

PacketDrawing::PacketDrawing(const std::vector<const Firewall*>& firewalls,
                             const PacketSpace& space, unsigned seed)
    : space_(space), beginning_(space.possible(ConnectionState::New)), random_(seed) {
    const auto around = [](std::vector<unsigned>& list, unsigned number) {
        for (const unsigned each : {number - 1, number, number, number + 1}) list.push_back(each);
    };
    const auto add = [&](const FieldTest& test) {
        const bool address = test.field == Field::Source || test.field == Field::Destination;
        const bool port = test.field == Field::SourcePort || test.field == Field::DestinationPort;
        if (!address && !port) return;
        around(address ? addresses_ : ports_, test.first);
        around(address ? addresses_ : ports_, test.last | (address ? ~test.mask : 0));
    };
    for (const Firewall* firewall : firewalls) {
        for (const Chain& chain : firewall->tables.chains)
            for (const Rule& rule : chain.rules) {
                for (const Condition& condition : firewall->rules.conditions_of(rule))
                    add(condition.test);
                const std::string* to = target_option(rule, "--to");
                const std::optional<Endpoint> place = read_endpoint(to ? *to : "");
                if (place && place->address) addresses_.push_back(*place->address);
                if (place && place->port) around(ports_, *place->port);
            }
        for (const auto& [name, own] : firewall->networks.addresses) around(addresses_, own);
        if (const std::optional<Net>& lan = firewall->networks.lan) {
            around(addresses_, lan->first());
            around(addresses_, lan->last());
        }
    }
    for (const unsigned known : {0u, loopback.first(), loopback.address + 1, loopback.last(),
                                 multicasts.first(), multicasts.last(), limited_broadcast})
        around(addresses_, known);
    for (const unsigned known : {0u, 53u, 67u, 68u, 80u, last_port}) ports_.push_back(known);
    std::erase_if(ports_, [](unsigned port) { return port > last_port; });
}

unsigned PacketDrawing::number(unsigned least, unsigned most) {
    return std::uniform_int_distribution<unsigned>(least, most)(random_);
}

unsigned PacketDrawing::one_of(const std::vector<unsigned>& list) {
    return list[number(0, static_cast<unsigned>(list.size()) - 1)];
}

unsigned PacketDrawing::in_ranges(const std::vector<NumberRange>& ranges, bool edges) {
    const NumberRange& range = ranges[number(0, static_cast<unsigned>(ranges.size()) - 1)];
    if (edges && chance(4)) return chance(2) ? range.first : range.last;
    return number(range.first, range.last);
}

unsigned PacketDrawing::address() {
    if (chance(5)) return number(0, 0xffffffff);
    return one_of(addresses_);
}

std::optional<std::string> PacketDrawing::text_of(Field field, unsigned place) const {
    if (place == 0) return std::nullopt;
    return space_.texts(field)[place - 1];
}

Packet PacketDrawing::of(const PacketSet& set, const std::string& in, ConnectionState state) {
    PacketSet rest = set;
    const auto draw = [&](Field field) {
        const std::vector<PacketPart> parts = space_.parts(rest, field);
        const PacketPart& part = parts[number(0, static_cast<unsigned>(parts.size()) - 1)];
        rest = part.rest;
        // Different source ports can be sent together.
        return in_ranges(part.values, field != Field::SourcePort);
    };
    Packet packet;
    packet.in = in;
    packet.state = state;
    packet.mac_source = text_of(Field::MacSource, draw(Field::MacSource));
    packet.mac_dest = text_of(Field::MacDest, draw(Field::MacDest));
    packet.protocol = draw(Field::Protocol);
    packet.destination_port = draw(Field::DestinationPort);
    packet.icmp_type = draw(Field::IcmpType);
    packet.source = draw(Field::Source);
    packet.destination = draw(Field::Destination);
    packet.source_port = draw(Field::SourcePort);
    packet.tcp_flags = draw(Field::TcpFlags);
    packet.over_limit = draw(Field::WithinLimit) == 0;
    packet.not_drawn = draw(Field::Drawn) == 0;
    std::string payload;
    for (const std::string& text : space_.texts(Field::Payload)) {
        const PacketSet with = space_.passing({.field = Field::Payload, .text = text});
        const bool has = !(rest & with).is_empty() && ((rest - with).is_empty() || chance(20));
        rest = has ? rest & with : rest - with;
        if (has && payload.find(text) == std::string::npos) payload += text + " ";
    }
    if (!payload.empty()) packet.payload = payload;
    packet.mss = in_ranges(space_.values(rest, Field::Mss), true);
    complete(packet);
    return packet;
}

// Fields only where the protocol has them, and such as the packet's state has.
void PacketDrawing::complete(Packet& packet) {
    if (!has_ports(packet)) packet.source_port = packet.destination_port = std::nullopt;
    if (has_ports(packet) && !packet.source_port) packet.source_port = number(1024, last_port);
    if (has_ports(packet) && !packet.destination_port) packet.destination_port = port();
    const bool tcp = packet.protocol == protocol_tcp;
    const bool icmp = packet.protocol == protocol_icmp;
    if (!icmp) packet.icmp_type.reset();
    if (!tcp) packet.tcp_flags = packet.mss = std::nullopt;
    constexpr unsigned all_flags = 63;
    const bool is_new = packet.state == ConnectionState::New;
    if (icmp && !packet.icmp_type) packet.icmp_type = number(0, 20);
    if (icmp && is_new && !begins(packet)) packet.icmp_type = one_of({8, 8, 13, 15, 17});
    if (tcp && !packet.tcp_flags) packet.tcp_flags = number(0, all_flags);
    if (tcp && is_new && !begins(packet)) packet.tcp_flags = Syn;
    // Only a SYN has room for an MSS.
    if (tcp && (*packet.tcp_flags & Syn) == 0) packet.mss.reset();
    if (tcp && (*packet.tcp_flags & Syn) != 0 && !packet.mss) packet.mss = number(0, 1) * 1460;
}

void PacketDrawing::change(Packet& packet) {
    const std::vector<std::string>& macs = space_.texts(Field::MacSource);
    const std::vector<std::string>& payloads = space_.texts(Field::Payload);
    switch (number(0, 10)) {
        case 0:
            packet.protocol = chance(2) ? number(1, 255) : one_of({1, 2, 6, 17, 47});
            break;
        case 1:
        case 2:
            packet.source = address();
            break;
        case 3:
        case 4:
            packet.destination = address();
            break;
        case 5:
            packet.source_port = port();
            break;
        case 6:
        case 7:
            packet.destination_port = port();
            break;
        case 8:
            packet.mac_source.reset();
            if (!macs.empty() && !chance(3))
                packet.mac_source = macs[number(0, static_cast<unsigned>(macs.size()) - 1)];
            break;
        case 9:
            packet.payload.reset();
            if (!payloads.empty() && !chance(3))
                packet.payload = payloads[number(0, static_cast<unsigned>(payloads.size()) - 1)];
            break;
        default:
            packet.over_limit = chance(2);
            packet.not_drawn = chance(2);
            packet.icmp_type.reset();
            packet.mss.reset();
            packet.tcp_flags.reset();
    }
}

Packet PacketDrawing::beside(Packet packet) {
    do change(packet);
    while (chance(3));
    complete(packet);
    return packet;
}

Packet PacketDrawing::any(const std::string& in, ConnectionState state) {
    Packet packet;
    packet.in = in;
    packet.state = state;
    packet.protocol = one_of({1, 6, 6, 6, 6, 17, 17, 17, 47, 2});
    packet.source = chance(2) ? address() : number(0x0b000000, 0x7effffff);
    packet.destination = address();
    packet.over_limit = chance(6);
    packet.not_drawn = chance(2);
    packet.source_port = number(1024, last_port);
    packet.destination_port = port();
    return beside(packet);
}

// Connection tracking calls packets INVALID that have a wrong checksum, or that cannot belong to a
// connection.
WirePacket PacketDrawing::on_wire(const Packet& packet) {
    WirePacket wire = {.packet = packet};
    if (packet.state != ConnectionState::Invalid) return wire;
    wire.bad_checksum = begins(packet) || chance(2);
    return wire;
}
