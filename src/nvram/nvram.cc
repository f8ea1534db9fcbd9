// The nvram command: reads its options, finds the verb, runs it.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "nvram/verbs.h"

namespace {

constexpr const char* usage =
    "Usage: nvram [--root DIR] VERB ...\n"
    "  get KEY                      print a value; status 1 when it is not set\n"
    "  set KEY=VALUE...             change the working copy\n"
    "  unset KEY...                 remove from the working copy\n"
    "  show [--show-secrets] [PREFIX]   print the settings, passwords as ********\n"
    "  commit                       write the working copy to flash\n"
    "  load                         fill the working copy from flash\n"
    "  default                      factory settings into the working copy and flash\n"
    "  export FILE|-                write all settings, passwords included, to a file\n"
    "  import [--replace] FILE|-    take settings from a file; --replace: and no others\n"
    "  diff [--show-secrets] A B    compare files, @working, @factory or @flash; status 1 when they differ\n"
#if RC_NVRAM_TABLE
    "  check [--json] [FILE]        what is wrong with the settings, or with those of a file or @...;\n"
    "                               status 1 when there is an error or a warning\n"
    "  describe KEY                 what a setting is\n"
    "  keys [PREFIX]                the settings that rc knows, with a line of help\n"
#endif
    "  --help, --version\n"
    "Status: 0 done, 1 no, 2 wrong use or an error.\n";

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

int wrong_use(const char* what, const char* word) {
    std::fprintf(stderr, "nvram: %s%s (try 'nvram --help')\n", what, word);
    return nvram::status_error;
}

// Output that did not reach its reader is an error, whatever the verb had to say.
int finish(int status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    std::fprintf(stderr, "nvram: standard output: %s\n", std::strerror(errno));
    return nvram::status_error;
}

int run_verb(std::string_view root, const nvram::Call& call) {
    for (const Verb& verb : verbs) {
        if (verb.name != call.verb) continue;
        if (call.words.size() < verb.fewest_words)
            return wrong_use("something is missing after ", call.verb);
        if (call.words.size() > verb.most_words)
            return wrong_use("too many words after ", call.verb);
        if (call.show_secrets && verb.run != nvram::show_verb && verb.run != nvram::diff_verb)
            return wrong_use("--show-secrets does not belong to ", call.verb);
        if (call.json && verb.name != "check")
            return wrong_use("--json does not belong to ", call.verb);
        if (call.replace && verb.run != nvram::import_verb)
            return wrong_use("--replace does not belong to ", call.verb);
        nvram::Store store(nvram::places_below(root));
        return finish(verb.run(store, call));
    }
    for (const std::string_view name : table_verbs)
        if (name == call.verb) return wrong_use("this build leaves out ", call.verb);
    return wrong_use("no such verb: ", call.verb);
}

}  // namespace

// Options stand before the verb or right behind it; after "--" or the first other word nothing is
// one.
int main(int argc, char** argv) {
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
            if (words.size() < 2) return wrong_use("a folder is missing after ", words[0]);
            words = words.subspan(1);
            root = words[0];
        } else if (word == "--show-secrets") {
            call.show_secrets = true;
        } else if (word == "--replace") {
            call.replace = true;
        } else if (word == "--json") {
            call.json = true;
        } else {
            return wrong_use("no such option: ", words[0]);
        }
    }
    if (verb == nullptr) return wrong_use("which verb?", "");
    call.verb = verb;
    call.words = words;
    return run_verb(root, call);
}
