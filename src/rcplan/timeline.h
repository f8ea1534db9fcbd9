// A plan for people.
#ifndef RC_RCPLAN_TIMELINE_H
#define RC_RCPLAN_TIMELINE_H

#include <string>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"

struct TimelineStyle {
    bool colour = false;
};

// The time-line: on the left how long the pauses took so far, then the transcript; with a
// provenance, behind each line what it comes from; a summary at the end, and what was assumed of
// the router.
std::string timeline(const Plan& plan, const Provenance* provenance, TimelineStyle style);

#endif
