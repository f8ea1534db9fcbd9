// A plan as JSON.
#ifndef RC_RCPLAN_TIMELINE_JSON_H
#define RC_RCPLAN_TIMELINE_JSON_H

#include <string>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"

// One JSON object per line, in the order of the transcript, then one of the type "total"
// (rcplan(1)).
std::string json_lines(const Plan& plan, const Provenance* provenance);

#endif
