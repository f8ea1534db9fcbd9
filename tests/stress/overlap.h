// The two parts of the overlap test, for use inside the room.
#ifndef RC_TESTS_STRESS_OVERLAP_H
#define RC_TESTS_STRESS_OVERLAP_H

#include "room.h"

namespace stress {

// Runs held at chosen points. Returns the number of failed scenarios, each with a message.
int play_held_runs(const Settings& settings);

// Free runs, in this many rounds of each kind. Returns the number of failed rounds.
int play_free_runs(const Settings& settings, unsigned seed, int rounds);

}  // namespace stress

#endif
