// rcplan check: plays case files and compares the transcripts.

#include <iostream>

#include "plan/case.h"
#include "plan/commands.h"

namespace {

int check_one(const std::string& path, bool update) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return status_wrong_use;
    const auto parsed = parse_case(*text);
    if (const auto* error = std::get_if<CaseError>(&parsed)) {
        complain(path + ": " + error->message);
        return status_wrong_use;
    }
    const Case& stated = std::get<Case>(parsed);
    Recording played;
    played.world = case_world(stated);
    play(played, stated.words);

    const std::string actual = played.transcript.text();
    const std::string difference = transcript_difference(stated.expected, actual);
    if (difference.empty()) {
        std::cout << "ok       " << path << "\n";
        return status_done;
    }
    if (update) {
        if (!write_file(path, stated.head + actual)) return status_wrong_use;
        std::cout << "updated  " << path << "\n";
        return status_done;
    }
    std::cout << "DIFFERS  " << path << ": " << stated.title << "\n"
              << "('-' is expected and missing, '+' came unexpected)\n"
              << difference;
    return status_differs;
}

struct Options {
    bool update = false;
    std::vector<std::string> paths;
};

}  // namespace

void add_check(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("check", "plays case files and compares the transcripts");
    const auto options = std::make_shared<Options>();
    command->add_flag("--update", options->update,
                      "rewrites the expectations with what came out; read that diff");
    command->add_option("CASE", options->paths, "case files")->type_name("")->required();
    command->callback([options, &status] {
        for (const std::string& path : options->paths)
            status = std::max(status, check_one(path, options->update));
    });
}
