// The two parts of the overlap test, for use inside the room.
#ifndef RC_TESTS_STRESS_OVERLAP_H
#define RC_TESTS_STRESS_OVERLAP_H

#include "room.h"

namespace stress {

// Runs held at chosen points. Returns how many stories went wrong, each with a message.
int play_held_runs(const Settings& settings);

// Runs left to themselves, so many rounds of each kind. Returns how many rounds went wrong.
int play_free_runs(const Settings& settings, unsigned seed, int rounds);

}  // namespace stress

#endif
