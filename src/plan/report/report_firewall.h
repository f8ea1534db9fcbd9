// The report's packet filter: a map, and the rules by chain.
#ifndef RC_PLAN_REPORT_REPORT_FIREWALL_H
#define RC_PLAN_REPORT_REPORT_FIREWALL_H

#include <string>

#include "plan/report/report_parts.h"

// Appends the section, or nothing if there are no rules.
void put_firewall(std::string& out, const Report& report);

#endif
