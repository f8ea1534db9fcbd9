// The command line of rcplan, read from its own option parser.
#include <CLI/CLI.hpp>

#include "rcplan/command_line.h"
#include "reference/programs.h"

namespace {

struct Kind {
    std::string_view type;
    const char* word;
};

// Kinds by the placeholder in rcplan's help after an option or a verb.
constexpr Kind kinds[] = {
    {.type = "FILE", .word = "file"},
    {.type = "A", .word = "file"},
    {.type = "B", .word = "file"},
    {.type = "CASE", .word = "file"},
    {.type = "PAGE", .word = "file"},
    {.type = "DIR", .word = "folder"},
    {.type = "K=V", .word = "assignment"},
    {.type = "WORDS", .word = "action"},
    {.type = "KEY", .word = "key"},
    {.type = "P", .word = "words tcp udp icmp"},
    {.type = "STATE", .word = "words new established related invalid"},
};

WordKind kind_of(std::string_view type) {
    for (const Kind& kind : kinds)
        if (type == kind.type) return kind.word;
    return "";
}

// The words of "TEXT:{auto,always,never}"; "" if the type lists no words.
WordKind choice_of(std::string_view type) {
    const size_t open = type.find('{');
    const size_t close = type.rfind('}');
    if (open == std::string_view::npos || close == std::string_view::npos) return "";
    std::string words = "words " + std::string(type.substr(open + 1, close - open - 1));
    std::replace(words.begin(), words.end(), ',', ' ');
    return words;
}

Option option_of(const CLI::Option& told, const std::string& name) {
    if (told.get_items_expected_max() == 0) return {.name = "--" + name};
    const std::string type = told.get_type_name();
    const WordKind choice = choice_of(type);
    return {
        .name = "--" + name, .takes_word = true, .word = choice.empty() ? kind_of(type) : choice};
}

std::vector<Option> options_of(const CLI::App& app) {
    std::vector<Option> options;
    for (const CLI::Option* told : app.get_options())
        for (const std::string& name : told->get_lnames())
            options.push_back(option_of(*told, name));
    return options;
}

std::vector<WordKind> words_of(const CLI::App& verb) {
    std::vector<WordKind> words;
    for (const CLI::Option* told : verb.get_options())
        if (told->get_positional()) words.push_back(kind_of(told->get_name(true)));
    return words;
}

}  // namespace

Program rcplan_program() {
    int status = 0;
    const std::unique_ptr<CLI::App> app = command_line(status);
    Program program = {.name = app->get_name(), .options = options_of(*app), .verbs = {}};
    for (const CLI::App* verb : app->get_subcommands([](const CLI::App*) { return true; }))
        program.verbs.push_back(
            {.name = verb->get_name(), .options = options_of(*verb), .words = words_of(*verb)});
    return program;
}
