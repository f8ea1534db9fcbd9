// rcplan diff: the effect of changing the settings, and the actions that the change needs.

#include <unistd.h>

#include <iostream>
#include <memory>

#include "libnvram/secret.h"
#include "plan/router/plan.h"
#include "plan/trace/redaction.h"
#include "rcplan/diff_exposure.h"
#include "rcplan/diff_json.h"
#include "rcplan/diff_text.h"
#include "rcplan/files.h"
#include "rcplan/settings_file.h"
#include "rcplan/verbs.h"

namespace {

// The contents of the command's files.
struct Files {
    Settings a;
    Settings b;
    std::optional<World> world;
};

std::optional<Files> read_files(const DiffOptions& options) {
    const std::optional<Settings> a = read_settings_file(options.a);
    const std::optional<Settings> b = read_settings_file(options.b);
    if (!a || !b) return std::nullopt;
    warn_of_unknown(options.a + ": ", *a);
    warn_of_unknown(options.b + ": ", *b);
    Files files = {.a = *a, .b = *b, .world = {}};
    if (options.world_file.empty()) return files;
    files.world = read_world(options.world_file);
    if (!files.world) return std::nullopt;
    return files;
}

// Shown during the comparison, if standard error is a terminal.
Progress progress_line() {
    if (isatty(STDERR_FILENO) != 1) return {};
    return [](size_t done, size_t all) {
        std::cerr << "\rcomparing: " << done << " of " << all << " settings" << std::flush;
    };
}

void clear_progress_line() {
    if (isatty(STDERR_FILENO) == 1) std::cerr << "\r\033[K";
}

// The run's transcript with its secrets masked, its lines in their places.
Transcript masked_run(const Plan& plan) {
    return Redaction(plan, trace_secrets(plan)).transcript();
}

Difference compare_runs(const Files& files, const std::vector<std::string>& words,
                        bool show_secrets) {
    const World world = files.world.value_or(World{});
    const auto plan_with = [&](const Settings& settings) {
        return make_plan(router_with(world, settings, words), words);
    };
    const auto play = [&](const Settings& settings) {
        const Plan plan = plan_with(settings);
        Played played = {.parts = {plan.after.transcript}, .settings_read = {}};
        for (const Input& input : plan.after.inputs)
            if (input.kind == Input::Kind::Setting) played.settings_read.insert(input.name);
        return played;
    };
    Difference difference = differences(files.a, files.b, play, progress_line()).front();
    clear_progress_line();
    if (!show_secrets) {
        difference.a = masked_run(plan_with(files.a));
        difference.b = masked_run(plan_with(files.b));
    }
    return difference;
}

// A line of a stop, which may hold secrets of A. A short value is in many lines by chance, so it
// counts only if its setting is one of the causes; then the line is masked as a whole.
std::string masked_line(std::string line, const Settings& settings,
                        const std::set<std::string>& because) {
    constexpr size_t is_short = 4;
    for (const auto& [key, value] : settings) {
        if (value.empty() || !nvram::is_secret(key)) continue;
        if (value.size() < is_short && !because.contains(key)) continue;
        size_t at = line.find(value);
        if (at != std::string::npos && value.size() < is_short) return std::string(mask);
        for (; at != std::string::npos; at = line.find(value, at + mask.size()))
            line.replace(at, value.size(), mask);
    }
    return line;
}

void mask_secrets(Advice& advice, const Files& files) {
    const auto mask_paths = [&](ChangedEffects& effects) {
        std::set<std::string> paths;
        for (const std::string& path : effects.files)
            paths.insert(masked_line(masked_line(path, files.a, {}), files.b, {}));
        effects.files = std::move(paths);
    };
    for (StopBefore& stop : advice.before)
        for (std::string& line : stop.only_with_a)
            line = masked_line(std::move(line), files.a, stop.because);
    for (Restart& restart : advice.fewest) mask_paths(restart.effects);
    for (Restart& restart : advice.gentlest) mask_paths(restart.effects);
    mask_paths(advice.at_boot);
}

}  // namespace

int diff_verb(const DiffOptions& options) {
    const std::optional<Files> files = read_files(options);
    if (!files) return status_wrong_use;
    const TimelineStyle style = {.colour = wants_colour(options.colour)};
    const std::vector<SettingChange> changes = changed_settings(files->a, files->b);
    const std::string settings = options.json ? settings_json(changes, options.show_secrets)
                                              : settings_text(changes, options.show_secrets, style);
    if (!options.words.empty()) {
        const std::vector<std::string> words = rc_words(options.words);
        const Difference difference = compare_runs(*files, words, options.show_secrets);
        if (options.json)
            std::cout << settings << difference_json(difference);
        else
            print(settings + difference_text(difference, words, style));
        return difference.changes.empty() ? status_done : status_differs;
    }
    Advice advice = needed_restarts(files->a, files->b, files->world, progress_line());
    clear_progress_line();
    if (!options.show_secrets) mask_secrets(advice, *files);
    const ExposureChange exposure = exposure_change(files->a, files->b, files->world);
    if (options.json)
        std::cout << settings << exposure_change_json(exposure) << advice_json(advice);
    else
        print(settings + advice_text(advice) + exposure_change_text(exposure));
    if (!options.json && !files->world)
        print(
            "\nassumed about the router (override with --world):\n"
            "       it runs with A, and its Internet side is up\n");
    return differs(advice) || exposure.differs() ? status_differs : status_done;
}
