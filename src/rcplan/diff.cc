// rcplan diff: the effect of changing the settings, and the actions that the change needs.

#include <unistd.h>

#include <iostream>
#include <memory>

#include "libnvram/image.h"
#include "plan/router/plan.h"
#include "rcplan/diff_json.h"
#include "rcplan/diff_text.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

// The contents of the command's files.
struct Files {
    Settings a;
    Settings b;
    std::optional<World> world;
};

// A bad line is an error, because skipping it would look like a removed setting.
std::optional<Settings> settings_of(const std::string& path) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return std::nullopt;
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(*text, &bad_lines);
    for (const nvram::BadLine& bad : bad_lines)
        complain(path + ": line " + std::to_string(bad.number) + " " + bad.reason);
    if (!bad_lines.empty()) return std::nullopt;
    return read_settings(*text);
}

std::optional<Files> read_files(const DiffOptions& options) {
    const std::optional<Settings> a = settings_of(options.a);
    const std::optional<Settings> b = settings_of(options.b);
    if (!a || !b) return std::nullopt;
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

Difference compare_runs(const Files& files, const std::vector<std::string>& words) {
    const World world = files.world.value_or(World{});
    const auto play = [&](const Settings& settings) {
        const Plan plan = make_plan(router_with(world, settings, words), words);
        Played played = {.parts = {plan.after.transcript}, .settings_read = {}};
        for (const Input& input : plan.after.inputs)
            if (input.kind == Input::Kind::Setting) played.settings_read.insert(input.name);
        return played;
    };
    Difference difference = differences(files.a, files.b, play, progress_line()).front();
    clear_progress_line();
    return difference;
}

}  // namespace

int diff_verb(const DiffOptions& options) {
    const std::optional<Files> files = read_files(options);
    if (!files) return status_wrong_use;
    const TimelineStyle style = {.colour = wants_colour(options.colour)};
    const std::vector<SettingChange> changes = changed_settings(files->a, files->b);
    const std::string settings =
        options.json ? settings_json(changes) : settings_text(changes, style);
    if (!options.words.empty()) {
        const std::vector<std::string> words = rc_words(options.words);
        const Difference difference = compare_runs(*files, words);
        std::cout << settings
                  << (options.json ? difference_json(difference)
                                   : difference_text(difference, words, style));
        return difference.changes.empty() ? status_done : status_differs;
    }
    const Advice advice = needed_restarts(files->a, files->b, files->world, progress_line());
    clear_progress_line();
    std::cout << settings << (options.json ? advice_json(advice) : advice_text(advice));
    if (!options.json && !files->world)
        std::cout << "\nassumed about the router (override with --world):\n"
                     "       it runs with A, and its Internet side is up\n";
    return differs(advice) ? status_differs : status_done;
}
