// A packet's walk for people, and as JSON for programs.
#ifndef RC_PLAN_PACKET_REPORT_H
#define RC_PLAN_PACKET_REPORT_H

#include <string>

#include "plan/influence.h"
#include "plan/packet.h"
#include "plan/plan.h"

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
// One object (rcplan(1)).
std::string packet_json(const PacketReport& report);

#endif
