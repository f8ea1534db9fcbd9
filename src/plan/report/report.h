// A plan as one self-contained HTML page: for a colleague, a ticket, an archive. The page is
// readable without scripts; they add the filter and the map's panel. Secrets are redacted
// (redaction.h).
#ifndef RC_PLAN_REPORT_REPORT_H
#define RC_PLAN_REPORT_REPORT_H

#include <string>
#include <vector>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"

// What a page was made of, as its reader needs it to make it again.
struct ReportSource {
    std::string settings_file;      // empty: none
    std::vector<std::string> sets;  // KEY=VALUE
    std::string world_file;         // empty: none
    std::string date;
    std::string version;
};

std::string report_html(const Plan& plan, const Provenance& provenance,
                        const ReportSource& source = {});

#endif
