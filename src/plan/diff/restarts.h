// Which actions of rc bring a running router from one settings file to another.
#ifndef RC_PLAN_DIFF_RESTARTS_H
#define RC_PLAN_DIFF_RESTARTS_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/diff/diff.h"
#include "plan/router/settings.h"
#include "plan/router/world.h"

// What comes out otherwise with B, and the changed settings that make it so.
struct ChangedEffects {
    std::set<std::string> because;
    std::set<std::string> files;
    std::set<std::string> stored;  // settings that rc itself stores
    bool commands = false;
};

struct Restart {
    std::vector<std::string> words;  // of rc: "dhcpd", "restart"
    // The applications whose effects change and that this runs, and "wan" for the Internet side.
    std::vector<std::string> covers;
    ChangedEffects effects;
    Totals totals;
};

// A stop that takes away with A what it no longer knows of with B, such as a route.
struct StopBefore {
    std::vector<std::string> words;
    std::set<std::string> because;
    // What it does with A's settings only, each as one line.
    std::vector<std::string> only_with_a;
};

struct Advice {
    // To be run while A's settings still stand; the rest, once they are B's.
    std::vector<StopBefore> before;
    // As few as possible, in the order in which to run them: that of the boot; but an application
    // that reads what the Internet side leaves comes behind it.
    std::vector<Restart> fewest;
    // As few commands as possible, when that is another choice than the one above; else empty.
    std::vector<Restart> gentlest;
    // What only the boot itself does: rc init.
    ChangedEffects at_boot;
    // Changed settings on which nothing depends, neither with A nor with B.
    std::vector<std::string> unused;
};

// For a router that runs with A and is given B. Without a stated world it is in use
// (running.h).
Advice needed_restarts(const Settings& a, const Settings& b, const std::optional<World>& stated,
                       const Progress& progress = {});

bool differs(const Advice& advice);

// The settings on which nothing but the boot depends.
std::vector<std::string> only_at_boot(const Advice& advice);

#endif
