// Case files: a router, a command and the whole transcript that it must produce (docs/cases.md).
#ifndef RC_PLAN_ROUTER_CASE_H
#define RC_PLAN_ROUTER_CASE_H

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "plan/router/recording.h"
#include "plan/router/settings.h"

struct Case {
    std::string title;
    std::vector<std::string> words;
    bool power_on = false;  // no working copy yet
    Settings settings;
    std::optional<Settings> flash;
    std::optional<Settings> factory;
    // Everything else that the case states about the router.
    World world;
    std::string expected;
    // The file up to and including its "expect" line, for rewriting the rest.
    std::string head;
};

// An error in a case file: "line 3: ...".
struct CaseError {
    std::string message;
};

std::variant<Case, CaseError> parse_case(std::string_view text);

// A world file: the lines of a case that state the router, but not its settings, its command or its
// transcript.
std::variant<World, CaseError> parse_world(std::string_view text);

// The router as the case states it, settings included.
World case_world(const Case& stated);

// The words of a command line. A word in double quotes may contain blanks and may be empty.
std::vector<std::string> command_words(std::string_view line);

// K=V as two texts; nullopt if there is no "=".
std::optional<std::pair<std::string, std::string>> split_assignment(std::string_view text);

// The line-by-line difference between an expected transcript and a real one; empty if they are
// equal.
std::string transcript_difference(std::string_view expected, std::string_view actual);

#endif
