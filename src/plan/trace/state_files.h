// The files through which runs of rc speak to each other, to daemons and to the kernel.
#ifndef RC_PLAN_TRACE_STATE_FILES_H
#define RC_PLAN_TRACE_STATE_FILES_H

#include <set>
#include <string>

#include "plan/router/plan.h"

// Those that the run writes, reads, removes or names in a shell line, without the settings' and the
// board's own. In place of the name of an application or an interface is "*".
std::set<std::string> state_files(const Plan& plan);

#endif
