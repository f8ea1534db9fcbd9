// A transcript as lines, and differences between two sequences of lines.
#ifndef RC_PLAN_ROUTER_LINES_H
#define RC_PLAN_ROUTER_LINES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/transcript.h"

// The place of a line in a transcript: line 0 is an event's own text, 1 and more are the lines of
// its body.
struct Origin {
    size_t event = 0;
    size_t line = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes the comparison's 0 for a pointer.
    friend auto operator<=>(const Origin&, const Origin&) = default;
};

struct TranscriptLine {
    Origin origin;
    // Counterparts have the same kind: depth and verb, and for a line of a body its file too.
    std::string kind;
    std::string text;
};

// An event's body as lines, without their newlines.
std::vector<std::string_view> body_lines(std::string_view body);

std::vector<TranscriptLine> lines_of(const Transcript& transcript);

// A place where two sequences differ: lines of the first and the lines of the second in their
// place. Either range may be empty.
struct LineChange {
    size_t from = 0;
    size_t to = 0;
    size_t other_from = 0;
    size_t other_to = 0;
};

// The shortest set of changes, in order.
std::vector<LineChange> compare_lines(std::span<const std::string> lines,
                                      std::span<const std::string> others);
std::vector<LineChange> compare_lines(std::span<const TranscriptLine> lines,
                                      std::span<const TranscriptLine> others);

#endif
