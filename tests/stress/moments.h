// Short pseudo-random delays, so that concurrent runs interleave in many ways.
#ifndef RC_TESTS_STRESS_MOMENTS_H
#define RC_TESTS_STRESS_MOMENTS_H

#include <sched.h>
#include <stdint.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "names.h"

namespace stress {

inline void take_moments() {
    const char* seed = getenv(seed_variable);
    if (!seed) return;
    static uint64_t count = 0;
    // SplitMix64 of the seed, the process and the number of the call.
    uint64_t mixed = strtoull(seed, nullptr, 10) * 0x9e3779b97f4a7c15U +
                     static_cast<uint64_t>(getpid()) * 0xbf58476d1ce4e5b9U + ++count;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
    mixed ^= mixed >> 31;
    for (uint64_t i = 0; i < mixed % 4; i++) sched_yield();
    if (mixed % 8 >= 4) return;
    const timespec moment = {.tv_sec = 0, .tv_nsec = static_cast<long>(mixed / 8 % 400'000)};
    nanosleep(&moment, nullptr);
}

}  // namespace stress

#endif
