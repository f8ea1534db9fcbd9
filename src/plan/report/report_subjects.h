// The report's settings and facts of the router: each with the lines that depend on it.
#ifndef RC_PLAN_REPORT_REPORT_SUBJECTS_H
#define RC_PLAN_REPORT_REPORT_SUBJECTS_H

#include <string>

#include "plan/report/report_parts.h"

// Each appends its section, or nothing if the section would be empty.
void put_settings(std::string& out, const Report& report);
void put_facts(std::string& out, const Report& report);

#endif
