// Plays case files over the recording platform and compares the transcripts, as rcplan check does.
// It needs nothing but rc and the platform, so that it is built for the router's architecture too.
//   play_cases CASE...

#include <stdio.h>

#include <exception>
#include <string>

#include "plan/router/case_file.h"

namespace {

bool play_one(const char* path) {
    const auto loaded = load_case(path);
    if (const auto* error = std::get_if<CaseError>(&loaded)) {
        printf("%s\n", error->message.c_str());
        return false;
    }
    const Case& stated = std::get<Case>(loaded);
    Recording played;
    played.world = case_world(stated);
    play(played, stated.words);
    const std::string difference = transcript_difference(stated.expected, played.transcript.text());
    if (difference.empty()) return true;
    printf("DIFFERS  %s: %s\n%s", path, stated.title.c_str(), difference.c_str());
    return false;
}

}  // namespace

int main(int count, char** words) try {
    int failed = 0;
    for (int i = 1; i < count; i++)
        if (!play_one(words[i])) failed++;
    printf("%d cases, %d differ\n", count - 1, failed);
    return failed == 0 && count > 1 ? 0 : 1;
} catch (const std::exception& error) {
    fprintf(stderr, "%s\n", error.what());
    return 2;
}
