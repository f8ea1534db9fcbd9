// Builds and reads Ethernet frames with IPv4 packets.

#include "frames.h"

#include <algorithm>
#include <charconv>

#include "restore_text.h"

namespace {

// IP's reserved bit marks our packets: kernels pass it on and set it in none of their own.
constexpr unsigned reserved_bit = 0x8000;
constexpr unsigned ipv4_type = 0x0800;
constexpr size_t ip_header = 20;

// Network order.
void put16(Bytes& bytes, unsigned number) {
    bytes.push_back(static_cast<unsigned char>(number >> 8));
    bytes.push_back(static_cast<unsigned char>(number));
}

void put32(Bytes& bytes, unsigned number) {
    put16(bytes, number >> 16);
    put16(bytes, number & 0xffff);
}

unsigned get16(std::span<const unsigned char> bytes, size_t at) {
    return static_cast<unsigned>(bytes[at] << 8 | bytes[at + 1]);
}

unsigned get32(std::span<const unsigned char> bytes, size_t at) {
    return get16(bytes, at) << 16 | get16(bytes, at + 2);
}

unsigned checksum(const Bytes& bytes) {
    unsigned sum = 0;
    for (size_t i = 0; i < bytes.size(); i++)
        sum += i % 2 == 0 ? static_cast<unsigned>(bytes[i]) << 8 : bytes[i];
    while (sum >> 16 != 0) sum = (sum >> 16) + (sum & 0xffff);
    return ~sum & 0xffff;
}

void set_checksum(Bytes& bytes, size_t at, unsigned sum, bool bad) {
    if (bad) sum ^= 0x5555;
    bytes[at] = static_cast<unsigned char>(sum >> 8);
    bytes[at + 1] = static_cast<unsigned char>(sum);
}

Bytes tcp_header(const Packet& packet) {
    const bool has_mss = packet.mss && (packet.tcp_flags.value_or(0) & Syn) != 0;
    Bytes bytes;
    put16(bytes, packet.source_port.value_or(0));
    put16(bytes, packet.destination_port.value_or(0));
    put32(bytes, 1000);
    put32(bytes, 0);
    bytes.push_back(has_mss ? 0x60 : 0x50);
    bytes.push_back(static_cast<unsigned char>(packet.tcp_flags.value_or(0)));
    put16(bytes, 8192);
    put32(bytes, 0);
    if (has_mss) {
        put16(bytes, 0x0204);
        put16(bytes, *packet.mss);
    }
    return bytes;
}

Bytes udp_header(const Packet& packet, size_t payload) {
    Bytes bytes;
    put16(bytes, packet.source_port.value_or(0));
    put16(bytes, packet.destination_port.value_or(0));
    put16(bytes, static_cast<unsigned>(8 + payload));
    put16(bytes, 0);
    return bytes;
}

Bytes icmp_header(const WirePacket& wire, unsigned id) {
    Bytes bytes = {static_cast<unsigned char>(wire.packet.icmp_type.value_or(0)), 0, 0, 0};
    // An error has no identifier.
    put16(bytes, wire.about.empty() ? id : 0);
    put16(bytes, 0);
    return bytes;
}

// The checksum of TCP and UDP covers the addresses, too.
unsigned segment_checksum(const Packet& packet, const Bytes& segment) {
    Bytes all;
    put32(all, packet.source.value_or(0));
    put32(all, packet.destination.value_or(0));
    put16(all, packet.protocol);
    put16(all, static_cast<unsigned>(segment.size()));
    all.insert(all.end(), segment.begin(), segment.end());
    const unsigned sum = checksum(all);
    return sum == 0 ? 0xffff : sum;
}

Bytes segment_of(const WirePacket& wire, unsigned id) {
    const Packet& packet = wire.packet;
    Bytes payload = wire.about;
    for (const char c : packet.payload.value_or(""))
        payload.push_back(static_cast<unsigned char>(c));
    Bytes segment(8, 0);
    if (packet.protocol == protocol_tcp) segment = tcp_header(packet);
    if (packet.protocol == protocol_udp) segment = udp_header(packet, payload.size());
    if (packet.protocol == protocol_icmp) segment = icmp_header(wire, id);
    segment.insert(segment.end(), payload.begin(), payload.end());
    if (packet.protocol == protocol_tcp)
        set_checksum(segment, 16, segment_checksum(packet, segment), wire.bad_checksum);
    if (packet.protocol == protocol_udp)
        set_checksum(segment, 6, segment_checksum(packet, segment), wire.bad_checksum);
    if (packet.protocol == protocol_icmp)
        set_checksum(segment, 2, checksum(segment), wire.bad_checksum);
    return segment;
}

}  // namespace

Mac mac_of(const std::string& text) {
    Mac mac = {};
    for (size_t i = 0; i < mac.size() && 3 * i + 2 <= text.size(); i++)
        std::from_chars(text.data() + 3 * i, text.data() + 3 * i + 2, mac[i], 16);
    return mac;
}

Bytes packet_bytes(const WirePacket& wire, unsigned id) {
    const Packet& packet = wire.packet;
    const Bytes segment = segment_of(wire, id);
    const unsigned tos =
        (packet.over_limit ? tos_over_limit : 0) | (packet.not_drawn ? tos_not_drawn : 0);
    Bytes bytes = {0x45, static_cast<unsigned char>(tos)};
    put16(bytes, static_cast<unsigned>(ip_header + segment.size()));
    put16(bytes, id);
    put16(bytes, reserved_bit);
    bytes.push_back(64);
    bytes.push_back(static_cast<unsigned char>(packet.protocol));
    put16(bytes, 0);
    put32(bytes, packet.source.value_or(0));
    put32(bytes, packet.destination.value_or(0));
    set_checksum(bytes, 10, checksum(bytes), false);
    bytes.insert(bytes.end(), segment.begin(), segment.end());
    return bytes;
}

Bytes frame_of(const WirePacket& wire, unsigned id, const Mac& from, const Mac& to) {
    const Mac source = wire.packet.mac_source ? mac_of(*wire.packet.mac_source) : from;
    Bytes frame(to.begin(), to.end());
    frame.insert(frame.end(), source.begin(), source.end());
    put16(frame, ipv4_type);
    const Bytes packet = packet_bytes(wire, id);
    frame.insert(frame.end(), packet.begin(), packet.end());
    return frame;
}

std::optional<Arrival> read_arrival(std::span<const unsigned char> bytes) {
    if (bytes.size() < ip_header || (get16(bytes, 6) & reserved_bit) == 0) return std::nullopt;
    Arrival arrival;
    arrival.id = get16(bytes, 4);
    arrival.protocol = bytes[9];
    arrival.source = get32(bytes, 12);
    arrival.destination = get32(bytes, 16);
    const size_t header = static_cast<size_t>(bytes[0] & 15) * 4;
    const bool ports = arrival.protocol == protocol_tcp || arrival.protocol == protocol_udp;
    if (ports && bytes.size() >= header + 4) {
        arrival.source_port = get16(bytes, header);
        arrival.destination_port = get16(bytes, header + 2);
    }
    return arrival;
}
