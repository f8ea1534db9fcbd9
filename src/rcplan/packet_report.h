// A packet's walk as text.
#ifndef RC_RCPLAN_PACKET_REPORT_H
#define RC_RCPLAN_PACKET_REPORT_H

#include <string>

#include "plan/netfilter/packet_walk.h"
#include "plan/router/plan.h"
#include "plan/trace/influence.h"

struct PacketReport {
    const Plan& plan;
    const Netfilter& tables;
    const Provenance& provenance;
    // The packet on arrival, and what was assumed about it.
    Packet packet;
    std::vector<std::string> assumptions;
    Walk walk;
};

// The assumptions about the packet, then those made during its walk.
std::vector<std::string> all_assumptions(const PacketReport& report);

std::string packet_text(const PacketReport& report);

#endif
