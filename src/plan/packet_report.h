// A packet's walk for people, and as JSON for programs.
#ifndef RC_PLAN_PACKET_REPORT_H
#define RC_PLAN_PACKET_REPORT_H

#include <string>

#include "plan/influence.h"
#include "plan/packet.h"
#include "plan/plan.h"

struct PacketReport {
    const Plan& plan;
    const Netfilter& tables;
    const Provenance& provenance;
    // The packet as it came, and what was taken for granted of it.
    Packet packet;
    std::vector<std::string> assumptions;
    Walk walk;
};

std::string packet_text(const PacketReport& report);
// One object (rcplan(1)).
std::string packet_json(const PacketReport& report);

#endif
