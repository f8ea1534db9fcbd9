// The report's list of what is open from the WAN.
#ifndef RC_PLAN_REPORT_REPORT_OPEN_H
#define RC_PLAN_REPORT_REPORT_OPEN_H

#include <string>

#include "plan/report/report_parts.h"

// What a run's rules leave open; nullopt if it has none.
std::optional<OpenFromWan> open_from_wan(const Plan& plan, const Netfilter& tables,
                                         const Provenance& provenance);

// Appends the section, or nothing if the run has no rules.
void put_open(std::string& out, const Report& report);

#endif
