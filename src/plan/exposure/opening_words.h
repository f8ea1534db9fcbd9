// Openings in words.
#ifndef RC_PLAN_EXPOSURE_OPENING_WORDS_H
#define RC_PLAN_EXPOSURE_OPENING_WORDS_H

#include <string>
#include <vector>

#include "plan/exposure/openings.h"

// "8000", "20-25, 80", "all but 53"; of 0 to 65535.
std::string ports_text(const std::vector<NumberRange>& ports);
// "tcp", "tcp and udp", "any protocol", "any protocol but icmp".
std::string protocols_text(const Opening& opening);
// "198.51.100.9", "198.51.100.0/24", "198.51.100.10-198.51.100.20".
std::string addresses_text(const std::vector<NumberRange>& addresses);
// "anyone", if only addresses are missing that nobody else can have.
std::string sources_text(const PacketSpace& space, const Networks& networks,
                         const Opening& opening);
// "router", "router at 192.168.1.1", "192.168.1.9", "LAN", "anywhere".
std::string target_text(const PacketSpace& space, const Networks& networks, const Opening& opening);
// The ports there; empty without ports.
std::string target_ports_text(const Opening& opening);
// The packets of a set whose fields a rule asks for; interfaces, state and mark are left out.
PacketSet asked_by(const PacketSpace& space, const Rule& rule, const PacketSet& among);

// Under which conditions, each as "at most 100 a second"; none: always.
std::vector<std::string> conditions_of(const Firewall& firewall, const PacketSpace& space,
                                       const Opening& opening);

// A packet of the set, as a user would think of one.
Packet witness_of(const PacketSpace& space, const Networks& networks, const PacketSet& packets,
                  const std::string& in, ConnectionState state);
// Its words for `rcplan packet`.
std::string packet_words(const Packet& packet);

#endif
