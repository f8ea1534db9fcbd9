// Whether a difference of two firewalls is what the kernel shows of them.
#ifndef RC_TESTS_KERNEL_DIFFERENCES_H
#define RC_TESTS_KERNEL_DIFFERENCES_H

#include <string>

#include "plan/router/settings.h"
#include "wire.h"

struct DifferenceCount {
    size_t changes = 0;
    // Those that the kernel shows: a packet goes elsewhere.
    size_t shown = 0;
    // Packets sent to both, and those of them that go elsewhere.
    size_t packets = 0;
    size_t moved = 0;
    // Packets about which the kernel and the difference disagree, and rules that were not taken.
    size_t wrong = 0;
};

// Changes single rules of a router with these settings: of all changes each `step`th, beginning
// with `first`. Sends the same packets, at least so many, through the rules before and after.
DifferenceCount compare_changes(Wire& wire, const Settings& settings, const std::string& name,
                                size_t packets, size_t first, size_t step);

#endif
