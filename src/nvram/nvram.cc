// The nvram command: reads its options, finds the verb, runs it.
#include <array>
#include <cerrno>
#include <cstdio>
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
    "  show [--show-secrets] [PREFIX]   print the settings, passwords as ********\n"
#if RC_NVRAM_TABLE
    "  commit [--check]             write the working copy to flash; --check: unless it has errors\n"
#else
    "  commit                       write the working copy to flash\n"
#endif
    "  load                         fill the working copy from flash\n"
    "  default                      reset the working copy and flash to the factory settings\n"
    "  export FILE|-                write all settings, including passwords, to a file\n"
    "  import [--replace] FILE|-    read settings from a file; --replace removes all others\n"
#if RC_NVRAM_TABLE
    "  import --check ...           the same, unless the settings would have errors\n"
#endif
    "  diff [--show-secrets] A B    compare files, @working, @factory or @flash; status 1 if they differ\n"
#if RC_NVRAM_TABLE
    "  check [--json] [FILE|-]      report what is wrong with the settings, or with those in a file or @...;\n"
    "                               status 1 if there is an error or a warning\n"
    "  describe KEY                 explain a setting\n"
    "  keys [PREFIX]                list the settings that rc knows, with a line of help\n"
#endif
    "  --help, --version\n"
    "Exit status: 0 done, 1 no, 2 usage error or failure.\n";

struct Verb {
    std::string_view name;
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
#if RC_NVRAM_TABLE
    Verb{.name = "check", .fewest_words = 0, .most_words = 1, .run = nvram::check_verb},
    Verb{.name = "describe", .fewest_words = 1, .most_words = 1, .run = nvram::describe_verb},
    Verb{.name = "keys", .fewest_words = 0, .most_words = 1, .run = nvram::keys_verb},
#endif
};

// The verbs that need the table of all settings.
constexpr std::array<std::string_view, 3> table_verbs = {"check", "describe", "keys"};

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

int run_verb(std::string_view root, const nvram::Call& call) {
    for (const Verb& verb : verbs) {
        if (verb.name != call.verb) continue;
        if (call.words.size() < verb.fewest_words)
            return usage_error(call.verb, "missing argument");
        if (call.words.size() > verb.most_words)
            return usage_error(call.verb, "too many arguments");
        if (call.show_secrets && verb.run != nvram::show_verb && verb.run != nvram::diff_verb)
            return usage_error(call.verb, "does not take --show-secrets");
        if (call.json && verb.name != "check")
            return usage_error(call.verb, "does not take --json");
        if (call.replace && verb.run != nvram::import_verb)
            return usage_error(call.verb, "does not take --replace");
        if (call.check && verb.run != nvram::import_verb && verb.run != nvram::commit_verb)
            return usage_error(call.verb, "does not take --check");
        if (call.check && !RC_NVRAM_TABLE)
            return usage_error("--check", "not included in this build");
        nvram::report_lock_wait(call.verb, 60);
        nvram::Store store(nvram::places_below(root));
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
    std::string_view root;
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
            root = words[0];
        } else if (word == "--show-secrets") {
            call.show_secrets = true;
        } else if (word == "--replace") {
            call.replace = true;
        } else if (word == "--json") {
            call.json = true;
        } else if (word == "--check") {
            call.check = true;
        } else {
            return usage_error(words[0], "unknown option");
        }
    }
    if (verb == nullptr) {
        std::fputs("nvram: missing verb (try 'nvram --help')\n", stderr);
        return nvram::status_error;
    }
    call.verb = verb;
    call.words = words;
    return run_verb(root, call);
}
