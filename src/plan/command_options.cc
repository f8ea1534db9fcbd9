// What rcplan's commands share: the router's options, files, messages.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <memory>

#include "nvram/image.h"
#include "plan/case.h"
#include "plan/commands.h"
#include "plan/plan.h"

namespace {

bool take_set(const std::string& text, Settings& settings) {
    const auto assignment = split_assignment(text);
    if (assignment && nvram::valid_key(assignment->first)) {
        settings[assignment->first] = assignment->second;
        return true;
    }
    complain("--set " + text + ": a setting is written KEY=VALUE");
    return false;
}

}  // namespace

void add_router_options(CLI::App& command, RouterOptions& options) {
    command
        .add_option("--settings", options.settings_file,
                    "the router's settings: a text image, one key=value a line")
        ->type_name("FILE");
    command
        .add_option("--set", options.sets,
                    "one setting more, or another value for one of the file's")
        ->type_name("K=V")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false);
    command
        .add_option("--world", options.world_file,
                    "the rest of the router: interfaces, processes, files, clock (rcplan(1))")
        ->type_name("FILE");
}

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

void add_words(CLI::App& command, std::vector<std::string>& words) {
    command.positionals_at_end();
    command.add_option("WORDS", words, "what rc is called with, such as: lan start")
        ->type_name("")
        ->required();
}

void add_colour_option(CLI::App& command, std::string& choice) {
    command.add_option("--color", choice, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
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

std::optional<std::string> read_file(const std::string& path) {
    std::string text;
    const std::unique_ptr<FILE, int (*)(FILE*)> file(
        path == "-" ? fdopen(0, "r") : fopen(path.c_str(), "r"), fclose);
    char piece[4096];
    size_t count = 0;
    while (file && (count = fread(piece, 1, sizeof piece, file.get())) > 0)
        text.append(piece, count);
    if (file && !ferror(file.get())) return text;
    complain(path + ": " + strerror(errno));
    return std::nullopt;
}

bool write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (file.flush()) return true;
    complain(path + ": " + strerror(errno));
    return false;
}

void complain(const std::string& what) {
    std::cerr << "rcplan: " << what << "\n";
}
