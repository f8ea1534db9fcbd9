// A packet made from command-line options.
#ifndef RC_PLAN_NETFILTER_PACKET_OPTIONS_H
#define RC_PLAN_NETFILTER_PACKET_OPTIONS_H

#include <string>
#include <variant>
#include <vector>

#include "plan/netfilter/networks.h"
#include "plan/netfilter/packet.h"

// The options' texts; empty if not given.
struct PacketOptions {
    std::string in = {};
    std::string out = {};
    std::string protocol = {};
    std::string source = {};
    std::string destination = {};
    std::string source_port = {};
    std::string destination_port = {};
    std::string state = {};
    std::string flags = {};
    std::string icmp_type = {};
    std::string mss = {};
    std::string mac_source = {};
    std::string mac_dest = {};
    std::string mark = {};
    std::string payload = {};
    bool syn = false;
    bool from_router = false;
    bool over_limit = false;
    bool not_drawn = false;
};

struct StatedPacket {
    Packet packet;
    // The assumptions, each as a sentence with the option that overrides it.
    std::vector<std::string> assumptions;
};

struct PacketError {
    std::string message;
};

std::variant<StatedPacket, PacketError> state_packet(const PacketOptions& options,
                                                     const Networks& networks);

#endif
