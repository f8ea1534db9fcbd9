// rcplan's commands: each adds itself to the command line, and leaves its exit status when it has
// been called.
#ifndef RC_PLAN_COMMANDS_H
#define RC_PLAN_COMMANDS_H

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plan/settings.h"
#include "plan/world.h"

inline constexpr int status_done = 0;
inline constexpr int status_differs = 1;
inline constexpr int status_wrong_use = 2;

// The whole command line: all commands, help and version.
std::unique_ptr<CLI::App> command_line(int& status);

void add_run(CLI::App& app, int& status);
void add_diff(CLI::App& app, int& status);
void add_sinks(CLI::App& app, int& status);
void add_packet(CLI::App& app, int& status);
void add_check(CLI::App& app, int& status);
void add_report(CLI::App& app, int& status);

// The router that a plan begins with, as options tell it.
struct RouterOptions {
    std::string settings_file;
    std::vector<std::string> sets;
    std::string world_file;
};

// --settings, --set, --world.
void add_router_options(CLI::App& command, RouterOptions& options);
// Why it could not be had stands on standard error.
std::optional<Settings> stated_settings(const RouterOptions& options);
std::optional<World> stated_router(const RouterOptions& options,
                                   const std::vector<std::string>& words);

// A world file; why it could not be had stands on standard error.
std::optional<World> read_world(const std::string& path);

// The words of rc, behind all options: "lan start".
void add_words(CLI::App& command, std::vector<std::string>& words);
// With argv[0].
std::vector<std::string> rc_words(const std::vector<std::string>& words);

// --color, and what the choice comes to: colours for a terminal that takes them.
void add_colour_option(CLI::App& command, std::string& choice);
bool wants_colour(const std::string& choice);

// A whole file; without it the reason stands on standard error.
std::optional<std::string> read_file(const std::string& path);
bool write_file(const std::string& path, const std::string& text);

// One message on standard error, for which the status is 2.
void complain(const std::string& what);

#endif
