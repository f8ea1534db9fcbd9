// Options that rcplan's verbs share: the router, and colours.

#include "rcplan/options.h"

#include <stdlib.h>
#include <unistd.h>

#include "libnvram/image.h"
#include "plan/router/case.h"
#include "plan/router/plan.h"
#include "rcplan/files.h"

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

}  // namespace

std::optional<Settings> stated_settings(const RouterOptions& options) {
    Settings settings;
    if (!options.settings_file.empty()) {
        const std::optional<std::string> text = read_file(options.settings_file);
        if (!text) return std::nullopt;
        settings = read_settings(*text);
    }
    for (const std::string& set : options.sets)
        if (!take_set(set, settings)) return std::nullopt;
    return settings;
}

std::optional<World> stated_router(const RouterOptions& options,
                                   const std::vector<std::string>& words) {
    const std::optional<Settings> settings = stated_settings(options);
    if (!settings) return std::nullopt;
    if (options.world_file.empty()) return router_with({}, *settings, words);
    const std::optional<World> world = read_world(options.world_file);
    if (!world) return std::nullopt;
    return router_with(*world, *settings, words);
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
    all.insert(all.end(), words.begin(), words.end());
    return all;
}
