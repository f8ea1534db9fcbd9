// The best set of choices that covers what is wanted.
#ifndef RC_PLAN_DIFF_COVER_H
#define RC_PLAN_DIFF_COVER_H

#include <cstdint>
#include <span>
#include <vector>

// A choice that is at hand: what it covers, one bit for each thing, and what it costs.
struct Choice {
    uint32_t covers = 0;
    int commands = 0;
    long long microseconds = 0;
};

enum class Prefer { FewestChoices, FewestCommands };

// The best choices, by index in order, that cover all that is wanted as far as any choice covers
// it. All combinations are looked at, so there should be no more than some twenty choices.
std::vector<size_t> best_cover(uint32_t wanted, std::span<const Choice> choices, Prefer prefer);

#endif
