// rcplan run: shows every command, pause, file and setting of one call of rc.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>

#include "libnvram/secret.h"
#include "plan/trace/redaction.h"
#include "rcplan/files.h"
#include "rcplan/timeline.h"
#include "rcplan/timeline_json.h"
#include "rcplan/verbs.h"

namespace {

namespace fs = std::filesystem;

// Folders and files that hold secrets are their owner's alone.
constexpr mode_t private_file = 0600;
constexpr mode_t private_folder = 0700;

bool report_failure(const fs::path& place) {
    complain(place.string() + ": " + strerror(errno));
    return false;
}

// Makes the folders that a path goes through, as far as they are not there.
bool make_folders(const fs::path& folder) {
    fs::path place;
    for (const fs::path& name : folder) {
        place /= name;
        if (mkdir(place.c_str(), private_folder) != 0 && errno != EEXIST)
            return report_failure(place);
    }
    return true;
}

// An existing file gets the mode too.
bool write_private(const fs::path& place, std::string_view content) {
    const int file = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, private_file);
    if (file < 0) return report_failure(place);
    bool done = fchmod(file, private_file) == 0;
    while (done && !content.empty()) {
        const ssize_t count = write(file, content.data(), content.size());
        done = count > 0;
        if (done) content.remove_prefix(static_cast<size_t>(count));
    }
    const int error = errno;
    done = close(file) == 0 && done;
    if (done) return true;
    errno = error;
    return report_failure(place);
}

// Writes the produced files below a folder. A path with ".." could lead outside, so it is skipped.
bool write_files(const Plan& plan, const Redaction* redaction, const fs::path& folder) {
    size_t written = 0;
    for (const std::string& path : produced_files(plan)) {
        if (!path.starts_with('/') || path.find("..") != std::string::npos) {
            complain("'" + (redaction ? redaction->path(path) : path) +
                     "': not written; \"..\" could lead outside " + folder.string());
            continue;
        }
        const fs::path place =
            (folder / path.substr(path.find_first_not_of('/'))).lexically_normal();
        if (!make_folders(place.parent_path())) return false;
        if (!write_private(place, *plan.after.world.get(path))) return false;
        written++;
    }
    complain(std::to_string(written) + " files written below " + folder.string());
    return true;
}

// A case is played again, so it cannot do without the settings' real values. True if that is what
// the options ask for, or if it holds no secret.
bool may_show(const Settings& settings, const RunOptions& options) {
    for (const auto& [key, value] : settings) {
        if (options.show_secrets || value.empty() || !nvram::is_secret(key)) continue;
        complain("a case file shows the secret " + key +
                 "; add --show-secrets, or replace the value with --set " + key + "=VALUE");
        return false;
    }
    return true;
}

// A case file of this router and this transcript; its title is left for the user to write.
std::string case_text(const Plan& plan, const Settings& settings, const std::string& world_file) {
    std::string text = "# \ncommand ";
    for (const std::string& word : plan.words) {
        const bool quoted = word.empty() || word.find(' ') != std::string::npos;
        text += quoted ? " \"" + word + "\"" : " " + word;
    }
    text += "\n";
    const char* line = plan.before.get(working_copy) ? "setting  " : "factory  ";
    if (line[0] == 'f') text += "power-on\n";
    for (const auto& [key, value] : settings) text += line + escape_line(key + "=" + value) + "\n";
    if (!world_file.empty()) text += read_file(world_file).value_or("");
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

void print_plan(const Plan& plan, const Provenance* why, const RunOptions& options) {
    if (options.json)
        std::cout << json_lines(plan, why);
    else
        print(timeline(plan, why, {.colour = wants_colour(options.colour)}));
}

}  // namespace

int run_verb(const RunOptions& options) {
    if (!options.files.empty() && !is_output_name(options.files, "rcplan run --files DIR WORDS"))
        return status_wrong_use;
    const std::vector<std::string> words = rc_words(options.words);
    const std::optional<StatedRouter> router = read_router(options.router);
    if (!router) return status_wrong_use;
    if (options.as_case && !may_show(router->settings, options)) return status_wrong_use;
    const Plan plan = make_plan(router->before(words), words);
    std::optional<Provenance> provenance;
    if (options.why) provenance = traced(plan);
    std::optional<Redaction> redaction;
    if (!options.show_secrets)
        redaction.emplace(plan, provenance ? *provenance : trace_secrets(plan));

    if (options.as_case) {
        print(case_text(plan, router->settings, options.router.world_file));
    } else if (redaction) {
        Plan shown = plan;
        shown.after.transcript = redaction->transcript();
        if (provenance) provenance = redaction->provenance(*provenance);
        print_plan(shown, provenance ? &*provenance : nullptr, options);
    } else {
        print_plan(plan, provenance ? &*provenance : nullptr, options);
    }
    const Redaction* masks = redaction ? &*redaction : nullptr;
    if (!options.files.empty() && !write_files(plan, masks, options.files)) return status_wrong_use;
    return status_done;
}
