// A case played again with a fault, and what must hold whatever failed.
#ifndef RC_TESTS_STRESS_REPLAY_H
#define RC_TESTS_STRESS_REPLAY_H

#include <string>
#include <vector>

#include "plan/router/case.h"
#include "plan/router/recording.h"

// One run of a case's command, and the router that it leaves.
struct Played {
    Recording recording;
    int status = 0;
};

Played play_case(const Case& stated, const Faults& faults);

// How a run with a fault differs from the whole one where it must not, a line each:
//   - it ends with the same status;
//   - nothing is done otherwise before the fault;
//   - it leaves no marker or PID file behind that was not there and that the whole run does not
//     leave, unless a removal failed;
//   - the images of the settings parse, have all their keys, and hold what they held or what was
//     stored;
//   - nothing is stored that the whole run does not store, but for a few settings (in replay.cc).
std::vector<std::string> broken_promises(const Case& stated, const Played& whole,
                                         const Played& faulty);

#endif
