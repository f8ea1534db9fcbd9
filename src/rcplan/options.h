// Options that rcplan's verbs share: the router, and colours.
#ifndef RC_RCPLAN_OPTIONS_H
#define RC_RCPLAN_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "plan/router/settings.h"
#include "plan/router/world.h"

// --settings, --set and --world.
struct RouterOptions {
    std::string settings_file;
    std::vector<std::string> sets;
    std::string world_file;
};

// The settings or router given by the options; nullopt after a message with the reason.
std::optional<Settings> stated_settings(const RouterOptions& options);
std::optional<World> stated_router(const RouterOptions& options,
                                   const std::vector<std::string>& words);

// A world file; nullopt after a message with the reason.
std::optional<World> read_world(const std::string& path);

// The words of a call of rc, with argv[0] first.
std::vector<std::string> rc_words(const std::vector<std::string>& words);

// Whether to colour the output, for a choice of auto, always or never. auto colours for a terminal
// that takes colours, unless NO_COLOR is set.
bool wants_colour(const std::string& choice);

#endif
