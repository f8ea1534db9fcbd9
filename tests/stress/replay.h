// Plays a case again with a fault, and checks the invariants that must hold after any fault.
#ifndef RC_TESTS_STRESS_REPLAY_H
#define RC_TESTS_STRESS_REPLAY_H

#include <string>
#include <vector>

#include "plan/router/case.h"
#include "plan/router/recording.h"

// One run of a case's command, and the router after it.
struct Played {
    Recording recording;
    int status = 0;
};

Played play_case(const Case& stated, const Faults& faults);

// The invariants that a run with a fault violates compared with the run without, one line each:
//   - it ends with the same status;
//   - everything before the fault is the same;
//   - it leaves no new marker or PID file that the run without a fault does not leave, unless a
//     removal failed;
//   - the images of the settings parse and have all their keys, each with its old value or one that
//     was stored;
//   - it stores only settings that the run without a fault stores, except for a few (in replay.cc).
std::vector<std::string> violated_invariants(const Case& stated, const Played& whole,
                                             const Played& faulty);

#endif
