// A plan for people, and as JSON for programs.
#ifndef RC_PLAN_TIMELINE_H
#define RC_PLAN_TIMELINE_H

#include <string>

#include "plan/influence.h"
#include "plan/plan.h"

struct TimelineStyle {
    bool colour = false;
};

// The time-line: on the left how long the pauses took so far, then the transcript; with a
// provenance, behind each line what it comes from; a summary at the end, and what was assumed of
// the router.
std::string timeline(const Plan& plan, const Provenance* provenance, TimelineStyle style);

// One JSON object a line, in the order of the transcript, then one of the type "total" (rcplan(1)).
std::string json_lines(const Plan& plan, const Provenance* provenance);

// The facts of the router that rc asked for, settings, its own process and files left out.
std::vector<Influence> asked_facts(const Plan& plan);

// How long the pauses before an event took together, by event; one more for the end of the run.
std::vector<long long> elapsed_microseconds(const Transcript& transcript);

// "2.5 s".
std::string in_seconds(long long microseconds);

#endif
