// The best set of choices that covers all wanted things.
#ifndef RC_PLAN_DIFF_COVER_H
#define RC_PLAN_DIFF_COVER_H

#include <cstdint>
#include <span>
#include <vector>

// A possible choice: the things that it covers, one bit each, and its costs.
struct Choice {
    uint32_t covers = 0;
    int commands = 0;
    long long microseconds = 0;
};

enum class Prefer { FewestChoices, FewestCommands };

// The indices of the best choices, in order, that together cover every wanted thing that any choice
// covers. It tries all combinations, so there should be at most about twenty choices.
std::vector<size_t> best_cover(uint32_t wanted, std::span<const Choice> choices, Prefer prefer);

#endif
