// rcplan run: shows every command, pause, file and setting of one call of rc.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include "rcplan/files.h"
#include "rcplan/timeline.h"
#include "rcplan/timeline_json.h"
#include "rcplan/verbs.h"

namespace {

// Writes the produced files below a folder. A path with ".." could lead outside, so it is skipped.
bool write_files(const Plan& plan, const std::filesystem::path& folder) {
    size_t written = 0;
    for (const std::string& path : produced_files(plan)) {
        const std::filesystem::path place =
            (folder / path.substr(path.find_first_not_of('/'))).lexically_normal();
        if (!path.starts_with('/') || path.find("..") != std::string::npos) {
            complain("'" + path + "': not written; \"..\" could lead outside " + folder.string());
            continue;
        }
        std::error_code failure;
        std::filesystem::create_directories(place.parent_path(), failure);
        if (!write_file(place.string(), *plan.after.world.get(path))) return false;
        written++;
    }
    std::cerr << "rcplan: " << written << " files written below " << folder.string() << "\n";
    return true;
}

// A case file of this router and this transcript; its title is left for the user to write.
std::string case_text(const Plan& plan, const RouterOptions& options) {
    std::string text = "# \ncommand ";
    for (const std::string& word : plan.words) {
        const bool quoted = word.empty() || word.find(' ') != std::string::npos;
        text += quoted ? " \"" + word + "\"" : " " + word;
    }
    text += "\n";
    const char* line = plan.before.get(working_copy) ? "setting  " : "factory  ";
    if (line[0] == 'f') text += "power-on\n";
    for (const auto& [key, value] : stated_settings(options).value_or(Settings{}))
        text += line + escape_line(key + "=" + value) + "\n";
    if (!options.world_file.empty()) text += read_file(options.world_file).value_or("");
    return text + "expect\n" + plan.after.transcript.text();
}

Provenance traced(const Plan& plan) {
    const bool show_progress = isatty(STDERR_FILENO) == 1;
    const auto progress = [](size_t done, size_t all) {
        std::cerr << "\rtracing: " << done << " of " << all << " inputs" << std::flush;
    };
    Provenance provenance = trace(plan, show_progress ? Progress(progress) : Progress());
    if (show_progress) std::cerr << "\r\033[K";
    return provenance;
}

}  // namespace

int run_verb(const RunOptions& options) {
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<World> router = stated_router(options.router, words);
    if (!router) return status_wrong_use;
    const Plan plan = make_plan(*router, words);
    if (options.as_case) {
        std::cout << case_text(plan, options.router);
    } else {
        std::optional<Provenance> provenance;
        if (options.why) provenance = traced(plan);
        const Provenance* why = provenance ? &*provenance : nullptr;
        if (options.json)
            std::cout << json_lines(plan, why);
        else
            std::cout << timeline(plan, why, {.colour = wants_colour(options.colour)});
    }
    if (!options.files.empty() && !write_files(plan, options.files)) return status_wrong_use;
    return status_done;
}
