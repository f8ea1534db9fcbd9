// Options that rcplan's verbs share: the router, and colours.
#ifndef RC_RCPLAN_OPTIONS_H
#define RC_RCPLAN_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "plan/router/settings.h"
#include "plan/router/world.h"

// --settings, --set, --world and --clock.
struct RouterOptions {
    std::string settings_file;
    std::vector<std::string> sets;
    std::string world_file;
    std::string clock;
};

// The options' files, read.
struct StatedRouter {
    Settings settings;
    World world;

    // The router with these settings, for a run with these words (argv[0] first).
    World before(const std::vector<std::string>& words) const;
};

// nullopt after a message with the reason. Warns of settings that rc does not know.
std::optional<StatedRouter> read_router(const RouterOptions& options);

// The router before a run with these words (argv[0] first), its WAN interface with this address
// unless that is empty; nullopt after a message with the reason.
std::optional<World> router_before(const RouterOptions& options, const std::string& wan_address,
                                   const std::vector<std::string>& words);

// A world file; nullopt after a message with the reason.
std::optional<World> read_world(const std::string& path);

// The words of a call of rc, with argv[0] first. A call may be given as it is typed on the router,
// with "rc" in front.
std::vector<std::string> rc_words(const std::vector<std::string>& words);

// False, after a message, for an output file that is named like a word of rc: the file's name was
// left out. The usage shows how it is given.
bool is_output_name(const std::string& name, const char* usage);

// Whether to colour the output, for a choice of auto, always or never. auto colours for a terminal
// that takes colours, unless NO_COLOR is set.
bool wants_colour(const std::string& choice);

#endif
