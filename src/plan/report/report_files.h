// The report's files: those that the run leaves.
#ifndef RC_PLAN_REPORT_REPORT_FILES_H
#define RC_PLAN_REPORT_REPORT_FILES_H

#include <string>

#include "plan/report/report_parts.h"

// Appends the section, or nothing if the run leaves no files.
void put_files(std::string& out, const Report& report);

#endif
