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

// A transcript that many others are compared with, most of which are nearly the same.
class LineBase {
  public:
    // The transcript must stay.
    explicit LineBase(const Transcript& transcript);
    const std::vector<TranscriptLine>& lines() const { return lines_; }

    // A line that the other transcript lacks, by its place in lines(), and whether a line of the
    // same kind stands in its place.
    struct Missing {
        size_t line = 0;
        bool replaced = false;
    };
    // As compare_lines finds them; but only the events that differ are made lines.
    std::vector<Missing> missing_in(const Transcript& other) const;

  private:
    const Transcript& transcript_;
    std::vector<TranscriptLine> lines_;
    // The first line of each event, and the number of all lines.
    std::vector<size_t> starts_;
};

#endif
