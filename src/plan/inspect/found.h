// What a router was like when rc-bundle looked: its settings, files, processes, interfaces, routes
// and packet filter, read from the output of its own old tools.
#ifndef RC_PLAN_INSPECT_FOUND_H
#define RC_PLAN_INSPECT_FOUND_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/inspect/bundle.h"
#include "plan/router/settings.h"
#include "plan/router/world.h"

// Stands for a secret.
inline constexpr std::string_view hidden_text = "********";

struct FoundProcess {
    int pid = 0;
    // Its parent's number; 0 if the archive does not say.
    int parent = 0;
    // Its words, separated by single spaces.
    std::string command;
    // Seconds since 1970; 0 if the archive does not say.
    long long started = 0;
    // While the archive was made.
    bool ended = false;

    // The program's name, without its folder.
    std::string name() const;
};

struct FoundInterface {
    bool up = false;
    std::optional<std::string> address;
    std::string mask;
    int mtu = 0;
    std::array<unsigned char, 6> mac = {};
};

struct FoundRoute {
    std::string destination;
    std::string gateway;
    std::string mask;
    std::string interface;
};

struct FoundMount {
    std::string place;
    int used = 0;  // percent
};

// A list is empty if the archive lacks the command's output: `lacks` says so.
struct FoundRouter {
    // With stand-ins of the same shape for secrets.
    Settings settings;
    // Seconds since 1970, and since the router was switched on.
    long long clock = 0;
    long long uptime = 0;
    // When the settings were changed, in seconds since 1970; 0 if the archive does not say.
    long long changed = 0;
    // Contents by path, and the times of the last writing.
    std::map<std::string, std::string> files;
    std::map<std::string, long long> file_times;
    std::vector<FoundProcess> processes;
    std::map<std::string, FoundInterface> interfaces;
    std::vector<FoundRoute> routes;
    // The interfaces of each bridge.
    std::map<std::string, std::set<std::string>> bridges;
    std::vector<FoundMount> mounts;
    // The texts that stand for secrets in the settings.
    std::vector<std::string> stand_ins;
    // The lines of `nvram diff @flash @working`.
    std::vector<std::string> uncommitted;
    // What the kernel's log says: programs ended for lack of memory, and that the table of
    // connections was full.
    std::set<std::string> starved;
    bool connections_full = false;

    // The settings that the last boot began with.
    Settings flash_settings() const;
    bool is_access_point() const;
    std::string wan_interface() const;
    // False if the archive does not say.
    bool lacks_wan_address() const;
    bool has_file(const std::string& path) const { return files.contains(path); }
    // Whether a process has this id, or this program's name.
    bool has_process(int pid) const;
    bool has_program(std::string_view name) const;
    // A text of a plan, with asterisks for the secrets' stand-ins.
    std::string hide(std::string text) const;
    // The router that a plan starts from.
    World world() const;
};

FoundRouter found_router(const Bundle& bundle);

#endif
