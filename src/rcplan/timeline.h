// A plan as text.
#ifndef RC_RCPLAN_TIMELINE_H
#define RC_RCPLAN_TIMELINE_H

#include <string>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"

struct TimelineStyle {
    bool colour = false;
};

// The timeline: in the left column the total of the pauses so far, then the transcript; with a
// provenance, the influences below each line; at the end a summary and the assumptions about the
// router.
std::string timeline(const Plan& plan, const Provenance* provenance, TimelineStyle style);

#endif
