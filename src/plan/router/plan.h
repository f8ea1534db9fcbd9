// A plan: one run of rc over the recording platform, and the router that it began with.
#ifndef RC_PLAN_ROUTER_PLAN_H
#define RC_PLAN_ROUTER_PLAN_H

#include <string>
#include <vector>

#include "plan/router/lines.h"
#include "plan/router/recording.h"
#include "plan/router/settings.h"

struct Plan {
    // rc's whole argument list.
    std::vector<std::string> words;
    World before;
    // The router afterwards, the transcript, and the inputs that rc read.
    Recording after;
    int status = 0;
};

// A deep copy: copied worlds share the contents of files, and a run changes them in place.
World copy_of(const World& world);

// The router with these settings: in the working copy, and as its factory settings. "rc init" finds
// no working copy, as after power-on.
World router_with(const World& world, const Settings& settings,
                  const std::vector<std::string>& words);

// Plays rc with these words (argv[0] first) over a copy of this router.
Plan make_plan(const World& router, const std::vector<std::string>& words);

// The files that the run created or changed, by path, without /proc and /dev.
std::vector<std::string> produced_files(const Plan& plan);

// A line of the transcript: its file and line number there.
struct Place {
    std::string file;  // empty: a command that rc ran directly
    size_t line = 0;
    std::string text;
};

Place place_of(const Plan& plan, const Origin& origin);

#endif
