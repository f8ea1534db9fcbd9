// rcplan check: plays case files and compares the transcripts.

#include <iostream>

#include "plan/router/case.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

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
              << "('-' expected but missing, '+' unexpected)\n"
              << difference;
    return status_differs;
}

}  // namespace

int check_verb(const CheckOptions& options) {
    int status = status_done;
    for (const std::string& path : options.cases)
        status = std::max(status, check_one(path, options.update));
    return status;
}
