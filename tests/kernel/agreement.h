// What the rows, the walk of a single packet and the kernel say about packets.
#ifndef RC_TESTS_KERNEL_AGREEMENT_H
#define RC_TESTS_KERNEL_AGREEMENT_H

#include <map>
#include <string>

#include "plan/router/settings.h"
#include "wire.h"

struct AgreementCount {
    size_t packets = 0;
    // In a row, by the state in which they arrive; and in none.
    std::map<std::string, size_t> inside = {};
    size_t outside = 0;
    // Those that no row is about, which only the walk and the kernel judged.
    size_t beyond_rows = 0;
    // Not sent: the protocol's packets cannot be made here in that state.
    size_t left_out = 0;
    size_t differences = 0;
    // Rules that were loaded in another form, by what was replaced.
    std::map<std::string, size_t> replaced = {};
    size_t rules = 0;
    size_t rows = 0;
};

// Sends at least so many packets from each of both sides through the rules of a router with these
// settings. Prints each difference, up to a limit.
AgreementCount compare_three(Wire& wire, const Settings& settings, const std::string& name,
                             size_t packets, unsigned seed);

#endif
