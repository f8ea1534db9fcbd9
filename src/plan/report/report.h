// A plan as one HTML page that needs nothing else: for a colleague, a ticket, an archive. Reading
// needs no scripts; they add the filter and the map's panel. Secrets are masked
// (plan/trace/redaction.h).
#ifndef RC_PLAN_REPORT_REPORT_H
#define RC_PLAN_REPORT_REPORT_H

#include <string>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"

std::string report_html(const Plan& plan, const Provenance& provenance);

#endif
