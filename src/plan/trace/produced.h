// The files that a run leaves, as lines, each with the places in the transcript that wrote it.
#ifndef RC_PLAN_TRACE_PRODUCED_H
#define RC_PLAN_TRACE_PRODUCED_H

#include <vector>

#include "plan/router/file_history.h"
#include "plan/router/plan.h"

// By path, as from produced_files().
std::vector<FollowedFile> produced_lines(const Plan& plan);

#endif
