// rcplan diff: what another settings file changes in effect, and which actions it calls for.

#include <unistd.h>

#include <iostream>
#include <memory>

#include "plan/commands.h"
#include "plan/diff_print.h"
#include "plan/plan.h"

namespace {

struct Options {
    std::string a;
    std::string b;
    std::vector<std::string> words;
    std::string world_file;
    bool json = false;
    std::string colour = "auto";
};

// What the command works on, all files read.
struct Input {
    Settings a;
    Settings b;
    std::optional<World> world;
};

std::optional<Input> read_input(const Options& options) {
    const std::optional<std::string> a = read_file(options.a);
    if (!a) return std::nullopt;
    const std::optional<std::string> b = read_file(options.b);
    if (!b) return std::nullopt;
    Input input = {.a = read_settings(*a), .b = read_settings(*b), .world = {}};
    if (options.world_file.empty()) return input;
    input.world = read_world(options.world_file);
    if (!input.world) return std::nullopt;
    return input;
}

// Shown while it is worked on, for a terminal only.
Progress progress_line() {
    if (isatty(STDERR_FILENO) != 1) return {};
    return [](size_t done, size_t all) {
        std::cerr << "\rcomparing: " << done << " of " << all << " settings" << std::flush;
    };
}

void clear_progress_line() {
    if (isatty(STDERR_FILENO) == 1) std::cerr << "\r\033[K";
}

Difference compare_runs(const Input& input, const std::vector<std::string>& words) {
    const World world = input.world.value_or(World{});
    const auto play = [&](const Settings& settings) {
        const Plan plan = make_plan(router_with(world, settings, words), words);
        Played played = {.parts = {plan.after.transcript}, .asked = {}};
        for (const Question& question : plan.after.asked)
            if (question.kind == Question::Kind::Setting) played.asked.insert(question.name);
        return played;
    };
    Difference difference = differences(input.a, input.b, play, progress_line()).front();
    clear_progress_line();
    return difference;
}

int run(const Options& options) {
    const std::optional<Input> input = read_input(options);
    if (!input) return status_wrong_use;
    const TimelineStyle style = {.colour = wants_colour(options.colour)};
    const std::vector<SettingChange> changes = changed_settings(input->a, input->b);
    const std::string settings =
        options.json ? settings_json(changes) : settings_text(changes, style);
    if (!options.words.empty()) {
        const std::vector<std::string> words = rc_words(options.words);
        const Difference difference = compare_runs(*input, words);
        std::cout << settings
                  << (options.json ? difference_json(difference)
                                   : difference_text(difference, words, style));
        return difference.changes.empty() ? status_done : status_differs;
    }
    const Advice advice = needed_restarts(input->a, input->b, input->world, progress_line());
    clear_progress_line();
    std::cout << settings << (options.json ? advice_json(advice) : advice_text(advice));
    return differs(advice) ? status_differs : status_done;
}

}  // namespace

void add_diff(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "diff",
        "what settings B change in effect: of one call of rc, line by line with the settings "
        "behind it; without WORDS, the restarts that a router running with A needs");
    const auto options = std::make_shared<Options>();
    command->positionals_at_end();
    command
        ->add_option("--world", options->world_file,
                     "the rest of the router (rcplan(1)); without WORDS and this, it is in use")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object a line");
    add_colour_option(*command, options->colour);
    command->add_option("A", options->a, "settings: a text image, one key=value a line")
        ->type_name("")
        ->required();
    command->add_option("B", options->b, "other settings")->type_name("")->required();
    command->add_option("WORDS", options->words, "what rc is called with, such as: dhcpd restart")
        ->type_name("");
    command->callback([options, &status] { status = run(*options); });
}
