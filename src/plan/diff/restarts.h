// The actions of rc that bring a running router from one settings file to another.
#ifndef RC_PLAN_DIFF_RESTARTS_H
#define RC_PLAN_DIFF_RESTARTS_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/diff/diff.h"
#include "plan/router/settings.h"
#include "plan/router/world.h"

// The effects that differ with B, and the changed settings that cause them.
struct ChangedEffects {
    std::set<std::string> because;
    std::set<std::string> files;
    std::set<std::string> stored;  // settings that rc itself stores
    bool commands = false;
};

struct Restart {
    std::vector<std::string> words;  // rc's arguments: "dhcpd", "restart"
    // The applications that this runs and whose effects change; "wan" for the Internet side.
    std::vector<std::string> covers;
    ChangedEffects effects;
    Totals totals;
};

// A stop that with A's settings removes something that it no longer knows with B's, such as a
// route.
struct StopBefore {
    std::vector<std::string> words;
    std::set<std::string> because;
    // Its commands that it runs only with A's settings, one line each.
    std::vector<std::string> only_with_a;
};

struct Advice {
    // To be run before the settings change from A to B; all others after it.
    std::vector<StopBefore> before;
    // As few as possible, in the order in which to run them: the boot's order, except that an
    // application that depends on results of the Internet side runs after it.
    std::vector<Restart> fewest;
    // As few commands as possible; empty if that is the same choice as the one above.
    std::vector<Restart> gentlest;
    // Effects of the boot itself only: rc init.
    ChangedEffects at_boot;
    // Changed settings that nothing depends on, neither with A nor with B.
    std::vector<std::string> unused;
};

// For a router that runs with A and gets B. Without a stated world, world_in_use() is assumed.
Advice needed_restarts(const Settings& a, const Settings& b, const std::optional<World>& stated,
                       const Progress& progress = {});

bool differs(const Advice& advice);

// The settings on which nothing but the boot depends.
std::vector<std::string> only_at_boot(const Advice& advice);

#endif
