// A packet's walk for people.
#ifndef RC_RCPLAN_PACKET_REPORT_H
#define RC_RCPLAN_PACKET_REPORT_H

#include <string>

#include "plan/netfilter/packet_walk.h"
#include "plan/router/plan.h"
#include "plan/trace/influence.h"

// A line of the transcript: the file that it stands in, and where there.
struct Place {
    std::string file;  // empty: it was run directly
    size_t line = 0;
    std::string text;
};

Place place_of(const Plan& plan, const Origin& origin);

struct PacketReport {
    const Plan& plan;
    const Netfilter& tables;
    const Provenance& provenance;
    // The packet as it came, and what was taken for granted of it.
    Packet packet;
    std::vector<std::string> assumptions;
    Walk walk;
};

// What was taken for granted of the packet, and then on its way.
std::vector<std::string> all_assumptions(const PacketReport& report);

std::string packet_text(const PacketReport& report);

#endif
