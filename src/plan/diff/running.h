// A router that has been booted and is in use: the start of a plan for changing its settings.
#ifndef RC_PLAN_DIFF_RUNNING_H
#define RC_PLAN_DIFF_RUNNING_H

#include <set>
#include <string>
#include <vector>

#include "plan/router/settings.h"
#include "plan/router/transcript.h"
#include "plan/router/world.h"

// The assumed router if no world is stated: the Internet side is up, its interfaces have addresses
// (RFC 5737), the provider's name server is known, its clients run, and server names resolve.
World world_in_use(const Settings& settings);

// One run of rc.
struct Run {
    Transcript transcript;
    std::set<std::string> settings_read;
    World after;
};

// Plays rc with these words (argv[0] first), at the world's start time, so that pauses of earlier
// runs do not change what is written.
Run run_on(const World& router, const std::vector<std::string>& words);

struct Boot {
    Transcript init;  // rc init
    std::set<std::string> settings_read;
    World router;
};

// Power on, then every application, the Internet side and its services.
Boot boot(const World& world, const Settings& settings);

#endif
