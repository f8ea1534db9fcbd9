// Packets as bytes on a cable.
#ifndef RC_TESTS_KERNEL_FRAMES_H
#define RC_TESTS_KERNEL_FRAMES_H

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "plan/netfilter/packet.h"

using Mac = std::array<unsigned char, 6>;
using Bytes = std::vector<unsigned char>;

struct WirePacket {
    Packet packet;
    // Connection tracking calls a packet with a wrong checksum INVALID.
    bool bad_checksum = false;
    // Of an ICMP error: the packet that it reports, from its IP header on.
    Bytes about = {};
};

// A packet that has come through, as far as its fate goes.
struct Arrival {
    unsigned id = 0;
    unsigned protocol = 0;
    Ipv4 source = 0;
    Ipv4 destination = 0;
    // 0 if the protocol has no ports.
    unsigned source_port = 0;
    unsigned destination_port = 0;
};

// An Ethernet frame with an IPv4 packet. The id is that of the IP header, and of an ICMP echo.
Bytes frame_of(const WirePacket& packet, unsigned id, const Mac& from, const Mac& to);
// The packet alone, from its IP header on.
Bytes packet_bytes(const WirePacket& packet, unsigned id);
// Reads a packet that begins with its IP header; nullopt if frame_of did not make it.
std::optional<Arrival> read_arrival(std::span<const unsigned char> bytes);

Mac mac_of(const std::string& text);

#endif
