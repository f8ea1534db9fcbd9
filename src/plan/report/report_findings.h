// The report's findings: what nvram check says of the settings.
#ifndef RC_PLAN_REPORT_REPORT_FINDINGS_H
#define RC_PLAN_REPORT_REPORT_FINDINGS_H

#include <string>

#include "plan/report/report_parts.h"

// Appends the section, or nothing if the router has no settings.
void put_findings(std::string& out, const Report& report);

#endif
