// rcplan check: plays case files and compares the transcripts.

#include <algorithm>
#include <iostream>

#include "plan/router/case_file.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"

namespace {

int print_whole(const std::string& path) {
    const auto read = read_case_file(path);
    const auto* error = std::get_if<CaseError>(&read);
    const std::string wrong = error ? error->message : std::get<CaseFile>(read).wrong_changes;
    if (!wrong.empty()) {
        complain(wrong);
        return status_wrong_use;
    }
    std::cout << std::get<CaseFile>(read).whole;
    return status_done;
}

int check_one(const std::string& path, bool update) {
    const auto read = read_case_file(path);
    if (const auto* error = std::get_if<CaseError>(&read)) {
        complain(error->message);
        return status_wrong_use;
    }
    const auto& file = std::get<CaseFile>(read);
    if (!file.wrong_changes.empty() && !update) {
        complain(file.wrong_changes);
        return status_wrong_use;
    }
    const Case& stated = file.stated;
    Recording played;
    played.world = case_world(stated);
    play(played, stated.words);

    const std::string actual = played.transcript.text();
    const std::string difference = transcript_difference(stated.expected, actual);
    if (difference.empty() && file.wrong_changes.empty()) {
        std::cout << "ok       " << path << "\n";
        return status_done;
    }
    if (update) {
        if (!write_file(path, stated.head + expectation(file, actual))) return status_wrong_use;
        std::cout << "updated  " << path << "\n";
        return status_done;
    }
    std::cout << "DIFFERS  " << path << ": " << stated.title << "\n"
              << "('-' expected but missing, '+' unexpected)\n"
              << difference;
    return status_differs;
}

// A base is rewritten before the cases whose changes refer to it.
void put_bases_first(std::vector<std::string>& paths) {
    std::stable_partition(paths.begin(), paths.end(), [](const std::string& path) {
        const auto read = read_case_file(path);
        const auto* file = std::get_if<CaseFile>(&read);
        return !file || !file->base;
    });
}

}  // namespace

int check_verb(const CheckOptions& options) {
    std::vector<std::string> cases;
    for (const std::string& path : options.cases)
        for (std::string& found : case_paths(path)) cases.push_back(std::move(found));
    if (options.update) put_bases_first(cases);
    int status = status_done;
    for (const std::string& path : cases)
        status =
            std::max(status, options.whole ? print_whole(path) : check_one(path, options.update));
    return status;
}
