// Compares a router with what rc would make of its settings.
#ifndef RC_PLAN_INSPECT_INSPECT_H
#define RC_PLAN_INSPECT_INSPECT_H

#include <vector>

#include "plan/inspect/deviation.h"
#include "plan/inspect/expected.h"

// All deviations, the most important first; notes last.
std::vector<Deviation> deviations(const Bundle& bundle, const FoundRouter& found,
                                  const ExpectedRouter& expected);

using Deviations = std::vector<Deviation>;

// The parts of it; each appends what it finds.
void inspect_traps(const FoundRouter& found, Deviations& list);
void inspect_settings(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list);
void inspect_links(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list);
void inspect_processes(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list);
void inspect_rules(const Bundle& bundle, const FoundRouter& found, const ExpectedRouter& expected,
                   Deviations& list);
void inspect_files(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list);
// The list has what the other parts have found.
void inspect_ages(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list);

#endif
