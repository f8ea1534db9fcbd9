// Finds the best set of choices that covers all wanted things.

#include "plan/diff/cover.h"

#include <algorithm>
#include <bit>
#include <tuple>

namespace {

struct Sum {
    uint32_t covers = 0;
    int count = 0;
    int commands = 0;
    long long microseconds = 0;
};

Sum sum_of(uint32_t set, std::span<const Choice> choices) {
    Sum sum;
    for (; set != 0; set &= set - 1) {
        const Choice& choice = choices[static_cast<size_t>(std::countr_zero(set))];
        sum.covers |= choice.covers;
        sum.count++;
        sum.commands += choice.commands;
        sum.microseconds += choice.microseconds;
    }
    return sum;
}

bool better(const Sum& one, const Sum& other, Prefer prefer) {
    if (prefer == Prefer::FewestChoices)
        return std::tie(one.count, one.commands, one.microseconds) <
               std::tie(other.count, other.commands, other.microseconds);
    return std::tie(one.commands, one.microseconds, one.count) <
           std::tie(other.commands, other.microseconds, other.count);
}

}  // namespace

std::vector<size_t> best_cover(uint32_t wanted, std::span<const Choice> choices, Prefer prefer) {
    // Each choice doubles the work, so those that cover nothing are left out.
    std::vector<size_t> useful;
    std::vector<Choice> candidates;
    uint32_t possible = 0;
    for (size_t i = 0; i < choices.size(); i++) {
        if ((choices[i].covers & wanted) == 0) continue;
        useful.push_back(i);
        candidates.push_back(choices[i]);
        possible |= choices[i].covers & wanted;
    }
    uint32_t best = 0;
    Sum best_sum;
    for (uint32_t set = 1; set < uint32_t{1} << candidates.size(); set++) {
        const Sum sum = sum_of(set, candidates);
        if ((sum.covers & possible) != possible) continue;
        if (best != 0 && !better(sum, best_sum, prefer)) continue;
        best = set;
        best_sum = sum;
    }
    std::vector<size_t> chosen;
    for (; best != 0; best &= best - 1)
        chosen.push_back(useful[static_cast<size_t>(std::countr_zero(best))]);
    return chosen;
}
