// Options that rcplan's verbs share: the router, and colours.

#include "rcplan/options.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "libnvram/image.h"
#include "plan/netfilter/networks.h"
#include "plan/netfilter/packet_values.h"
#include "plan/router/actions.h"
#include "plan/router/case.h"
#include "plan/router/plan.h"
#include "rcplan/files.h"
#include "rcplan/settings_file.h"

namespace {

bool take_set(const std::string& text, Settings& settings) {
    const auto assignment = split_assignment(text);
    if (assignment && nvram::valid_key(assignment->first)) {
        settings[assignment->first] = assignment->second;
        return true;
    }
    complain("--set " + text + ": not a setting; write KEY=VALUE");
    return false;
}

std::optional<Settings> stated_settings(const RouterOptions& options) {
    Settings settings;
    if (!options.settings_file.empty()) {
        std::optional<Settings> read = read_settings_file(options.settings_file);
        if (!read) return std::nullopt;
        warn_of_unknown(options.settings_file + ": ", *read);
        settings = std::move(*read);
    }
    Settings set;
    for (const std::string& text : options.sets)
        if (!take_set(text, set)) return std::nullopt;
    warn_of_unknown("--set ", set);
    for (auto& [key, value] : set) settings[key] = std::move(value);
    return settings;
}

}  // namespace

World StatedRouter::before(const std::vector<std::string>& words) const {
    return router_with(world, settings, words);
}

std::optional<StatedRouter> read_router(const RouterOptions& options) {
    std::optional<Settings> settings = stated_settings(options);
    if (!settings) return std::nullopt;
    StatedRouter router = {.settings = std::move(*settings), .world = {}};
    if (!options.world_file.empty()) {
        std::optional<World> world = read_world(options.world_file);
        if (!world) return std::nullopt;
        router.world = std::move(*world);
    }
    if (options.clock.empty()) return router;
    const std::optional<long long> clock = read_clock(options.clock);
    if (!clock) {
        complain("--clock " + options.clock + ": not a time; expected YYYY-MM-DD HH:MM:SS, in UTC");
        return std::nullopt;
    }
    router.world.clock_microseconds = *clock;
    return router;
}

std::optional<World> read_world(const std::string& path) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return std::nullopt;
    auto parsed = parse_world(*text);
    if (const auto* error = std::get_if<CaseError>(&parsed)) {
        complain(path + ": " + error->message);
        return std::nullopt;
    }
    return std::get<World>(std::move(parsed));
}

bool wants_colour(const std::string& choice) {
    if (choice != "auto") return choice == "always";
    const char* refused = getenv("NO_COLOR");
    const char* terminal = getenv("TERM");
    return (!refused || !*refused) && isatty(STDOUT_FILENO) == 1 &&
           (!terminal || std::string_view(terminal) != "dumb");
}

std::vector<std::string> rc_words(const std::vector<std::string>& words) {
    std::vector<std::string> all = {"rc"};
    const bool typed = !words.empty() && words.front() == "rc";
    all.insert(all.end(), words.begin() + (typed ? 1 : 0), words.end());
    return all;
}

bool is_output_name(const std::string& name, const char* usage) {
    std::vector<std::vector<std::string>> calls = all_actions();
    calls.push_back({"service"});
    for (const std::vector<std::string>& call : calls) {
        if (std::ranges::count(call, name) == 0) continue;
        complain("'" + name + "' is a word of rc, not an output file; write " + usage + ", or ./" +
                 name + " for a file of that name");
        return false;
    }
    return true;
}

std::optional<World> router_before(const RouterOptions& options, const std::string& wan_address,
                                   const std::vector<std::string>& words) {
    const std::optional<StatedRouter> stated = read_router(options);
    if (!stated) return std::nullopt;
    std::optional<World> router = stated->before(words);
    if (wan_address.empty()) return router;
    const std::string wan_if = networks_of(*router).wan_if;
    if (!read_address(wan_address) || wan_if.empty()) {
        complain("--wan-address " + wan_address + ": " +
                 (wan_if.empty()
                      ? "the settings name no WAN interface; set wan_ifname"
                      : "not an IPv4 address; expected four numbers, such as 203.0.113.7"));
        return std::nullopt;
    }
    router->interfaces[wan_if].address = wan_address;
    return router;
}
