// The report's timeline: every event of the run, in order.
#ifndef RC_PLAN_REPORT_REPORT_TIMELINE_H
#define RC_PLAN_REPORT_REPORT_TIMELINE_H

#include <string>

#include "plan/report/report_parts.h"

// Appends the section.
void put_timeline(std::string& out, const Report& report);

#endif
