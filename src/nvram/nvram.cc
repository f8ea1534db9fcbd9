// The nvram command: reads its options, finds the verb, runs it.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "libnvram/printable.h"
#include "libnvram/standard_descriptors.h"
#include "nvram/verbs.h"

namespace {

constexpr const char* usage =
    "Usage: nvram [--root DIR] VERB ...\n"
    "  get KEY                      print a value; status 1 if it is not set\n"
    "  set KEY=VALUE...             change the working copy\n"
    "  unset KEY...                 remove from the working copy\n"
    "  show [--json] [--show-secrets] [PREFIX]   print the settings, passwords as ********\n"
#if RC_NVRAM_TABLE
    "  commit [--check]             write the working copy to flash; --check: unless it has errors\n"
#else
    "  commit                       write the working copy to flash\n"
#endif
    "  load [--previous]            fill the working copy from flash; --previous: from the generation before\n"
    "  default                      reset the working copy and flash to the factory settings\n"
    "  export FILE|-                write all settings, including passwords, to a file\n"
    "  import [--replace] FILE|-    read settings from a file; --replace removes all others\n"
#if RC_NVRAM_TABLE
    "  import --check ...           the same, unless the settings would have errors\n"
#endif
    "  diff [--json] [--show-secrets] A B   compare files, @working, @factory, @flash or @previous, the\n"
    "                               generation before; status 1 if they differ\n"
#if RC_NVRAM_TABLE
    "  check [--json] [FILE|-]      report what is wrong with the settings, or with those in a file or @...;\n"
    "                               status 1 if there is an error or a warning\n"
    "  describe [--json] KEY        explain a setting\n"
    "  keys [--json] [PREFIX]       list the settings that rc knows, with a line of help\n"
#endif
    "  previous [--json] [--show-secrets]   what the last commit changed; status 1 if anything\n"
    "  mask ...                     copy the input, secrets as ********; for bundle\n"
    "  bundle [FILE|-]              write an archive of the router's state, without secrets\n"
#if RC_NVRAM_TABLE
    "  apply [--commit] [FILE|-]    change settings and run the rc actions that they need\n"
    "  try [--seconds N] [--probe COMMAND]... [FILE|-]\n"
    "                               the same; undone after N seconds (120) unless it is confirmed\n"
    "  apply and try take --dry-run, --force and --json too\n"
    "  confirm TOKEN                keep the change on trial, and write it to flash\n"
    "  undo                         undo the change on trial\n"
    "  trial [--json]               what is on trial; status 1 if nothing is\n"
    "  generations [--json]         the generations in flash\n"
#endif
    "  --help, --version\n"
    "Exit status: 0 done, 1 no, 2 usage error or failure.\n";

struct Verb {
    const char* name;
    std::size_t fewest_words;
    std::size_t most_words;
    int (*run)(nvram::Store& store, const nvram::Call& call);
};

constexpr std::size_t any_number = 0xffff;

constexpr std::array verbs = {
    Verb{.name = "get", .fewest_words = 1, .most_words = 1, .run = nvram::get_verb},
    Verb{.name = "set", .fewest_words = 1, .most_words = any_number, .run = nvram::set_verb},
    Verb{.name = "unset", .fewest_words = 1, .most_words = any_number, .run = nvram::unset_verb},
    Verb{.name = "show", .fewest_words = 0, .most_words = 1, .run = nvram::show_verb},
    Verb{.name = "commit", .fewest_words = 0, .most_words = 0, .run = nvram::commit_verb},
    Verb{.name = "load", .fewest_words = 0, .most_words = 0, .run = nvram::load_verb},
    Verb{.name = "default", .fewest_words = 0, .most_words = 0, .run = nvram::default_verb},
    Verb{.name = "export", .fewest_words = 1, .most_words = 1, .run = nvram::export_verb},
    Verb{.name = "import", .fewest_words = 1, .most_words = 1, .run = nvram::import_verb},
    Verb{.name = "diff", .fewest_words = 2, .most_words = 2, .run = nvram::diff_verb},
    Verb{.name = "previous", .fewest_words = 0, .most_words = 0, .run = nvram::previous_verb},
    Verb{.name = "mask", .fewest_words = 0, .most_words = any_number, .run = nvram::mask_verb},
    Verb{.name = "bundle", .fewest_words = 0, .most_words = 1, .run = nvram::bundle_verb},
#if RC_NVRAM_TABLE
    Verb{.name = "apply", .fewest_words = 0, .most_words = 1, .run = nvram::apply_verb},
    Verb{.name = "try", .fewest_words = 0, .most_words = 1, .run = nvram::try_verb},
    Verb{.name = "confirm", .fewest_words = 1, .most_words = 1, .run = nvram::confirm_verb},
    Verb{.name = "undo", .fewest_words = 0, .most_words = 0, .run = nvram::undo_verb},
    Verb{.name = "trial", .fewest_words = 0, .most_words = 0, .run = nvram::trial_verb},
    Verb{.name = "generations", .fewest_words = 0, .most_words = 0, .run = nvram::generations_verb},
    Verb{.name = "check", .fewest_words = 0, .most_words = 1, .run = nvram::check_verb},
    Verb{.name = "describe", .fewest_words = 1, .most_words = 1, .run = nvram::describe_verb},
    Verb{.name = "keys", .fewest_words = 0, .most_words = 1, .run = nvram::keys_verb},
#endif
};

struct Option {
    const char* name;
    bool nvram::Call::*given;
    // Between spaces.
    const char* verbs;
};

constexpr std::array options = {
    Option{"--show-secrets", &nvram::Call::show_secrets, " show diff previous "},
    Option{"--replace", &nvram::Call::replace, " import "},
    Option{"--json", &nvram::Call::json,
           " check show diff previous generations apply try trial describe keys "},
    Option{"--check", &nvram::Call::check, " import commit "},
    Option{"--previous", &nvram::Call::previous, " load "},
    Option{"--dry-run", &nvram::Call::dry_run, " apply try "},
    Option{"--force", &nvram::Call::force, " apply try "},
    Option{"--commit", &nvram::Call::commit, " apply "},
    Option{"--shapes", &nvram::Call::shapes, " mask "},
    Option{"--end", &nvram::Call::end, " mask "},
    Option{"--files", &nvram::Call::files, " mask "},
};

// The verbs that need the table of all settings, or the one of what restarts.
constexpr std::string_view table_verbs[] = {"check",   "describe", "keys",  "apply",      "try",
                                            "confirm", "undo",     "trial", "generations"};

int usage_error(const char* word, const char* problem) {
    std::fprintf(stderr, "nvram: %s: %s (try 'nvram --help')\n", nvram::printable(word).c_str(),
                 problem);
    return nvram::status_error;
}

// Output that could not be written is an error, whatever the verb returned.
int finish(int status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    std::fprintf(stderr, "nvram: standard output: %s\n", std::strerror(errno));
    return nvram::status_error;
}

// At least the time to confirm; at most a day.
bool read_seconds(const char* word, unsigned& seconds) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(word, &end, 10);
    if (*word < '0' || *word > '9' || *end != '\0' || number < 10 || number > 86400) return false;
    seconds = static_cast<unsigned>(number);
    return true;
}

bool give_option(nvram::Call& call, std::string_view word) {
    for (const Option& option : options) {
        if (word != option.name) continue;
        call.*option.given = true;
        return true;
    }
    return false;
}

int run_verb(const nvram::Call& call) {
    for (const Verb& verb : verbs) {
        if (std::strcmp(verb.name, call.verb) != 0) continue;
        if (call.words.size() < verb.fewest_words)
            return usage_error(call.verb, "missing argument");
        if (call.words.size() > verb.most_words)
            return usage_error(call.verb, "too many arguments");
        char word[24];
        std::snprintf(word, sizeof word, " %s ", verb.name);
        for (const Option& option : options) {
            if (!(call.*option.given) || std::strstr(option.verbs, word) != nullptr) continue;
            char problem[40];
            std::snprintf(problem, sizeof problem, "does not take %s", option.name);
            return usage_error(call.verb, problem);
        }
        if (call.timed && std::strcmp(verb.name, "try") != 0)
            return usage_error(call.verb, "does not take --seconds or --probe");
        if (call.check && !RC_NVRAM_TABLE)
            return usage_error("--check", "not included in this build");
        nvram::report_lock_wait(call.verb, 60);
        nvram::Store store(nvram::places_below(call.root));
        return finish(verb.run(store, call));
    }
    for (const std::string_view name : table_verbs)
        if (name == call.verb) return usage_error(call.verb, "not included in this build");
    return usage_error(call.verb, "unknown verb");
}

}  // namespace

// Options come before the verb or directly after it; "--" or the first other word ends them.
int main(int argc, char** argv) {
    open_standard_descriptors();
    std::span<char* const> words(argv, static_cast<std::size_t>(argc));
    nvram::Call call;
    const char* verb = nullptr;
    for (words = words.subspan(words.empty() ? 0 : 1); !words.empty(); words = words.subspan(1)) {
        const std::string_view word = words[0];
        if (word == "--" && verb != nullptr) {
            words = words.subspan(1);
            break;
        }
        if (!word.starts_with("--")) {
            if (verb != nullptr) break;
            verb = words[0];
        } else if (word == "--help") {
            std::fputs(usage, stdout);
            return finish(nvram::status_done);
        } else if (word == "--version") {
            std::puts("nvram " RC_VERSION);
            return finish(nvram::status_done);
        } else if (word == "--root") {
            if (words.size() < 2) return usage_error(words[0], "missing directory");
            words = words.subspan(1);
            call.root = words[0];
        } else if (word == "--seconds" || word == "--probe") {
            if (words.size() < 2) return usage_error(words[0], "missing argument");
            words = words.subspan(1);
            call.timed = true;
            if (word == "--probe")
                call.probes.push_back(words[0]);
            else if (!read_seconds(words[0], call.seconds))
                return usage_error(words[0], "not a number of seconds from 10 to 86400");
        } else if (!give_option(call, word)) {
            return usage_error(words[0], "unknown option");
        }
    }
    if (verb == nullptr) {
        std::fputs("nvram: missing verb (try 'nvram --help')\n", stderr);
        return nvram::status_error;
    }
    call.verb = verb;
    call.words = words;
    return run_verb(call);
}
