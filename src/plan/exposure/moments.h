// The moments at which the firewall's schedule opens and closes.
#ifndef RC_PLAN_EXPOSURE_MOMENTS_H
#define RC_PLAN_EXPOSURE_MOMENTS_H

#include <optional>
#include <string>

#include "plan/router/plan.h"

// Whether the schedule was open in a run that started the firewall.
bool schedule_is_open(const Plan& plan);

// The router of such a run at a time of the following week when the schedule is in its other state;
// nullopt if there is no such time.
std::optional<World> at_other_state(const Plan& plan);

// "while the schedule is open", for the state in such a run.
std::string moment_text(const Plan& plan);

// The time of a run, as an option of `rcplan packet`.
std::string clock_words(const Plan& plan);

#endif
