// A packet's walk as JSON.
#ifndef RC_RCPLAN_PACKET_JSON_H
#define RC_RCPLAN_PACKET_JSON_H

#include <string>

#include "rcplan/packet_report.h"

// One object (rcplan(1)).
std::string packet_json(const PacketReport& report);

#endif
