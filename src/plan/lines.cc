// Transcripts as lines, and their differences.

#include "plan/lines.h"

#include <dtl/dtl.hpp>
#include <map>

namespace {

// Lines as numbers, the same for the same line.
class Numbers {
  public:
    size_t of(const std::string& line) {
        return numbers_.try_emplace(line, numbers_.size()).first->second;
    }

  private:
    std::map<std::string, size_t> numbers_;
};

std::vector<LineChange> compare_numbers(const std::vector<size_t>& lines,
                                        const std::vector<size_t>& others) {
    dtl::Diff<size_t, std::vector<size_t>> difference(lines, others);
    difference.onHuge();
    difference.compose();
    std::vector<LineChange> changes;
    LineChange place;
    const auto finish = [&] {
        if (place.from != place.to || place.other_from != place.other_to) changes.push_back(place);
        place.from = place.to;
        place.other_from = place.other_to;
    };
    for (const auto& [number, info] : difference.getSes().getSequence()) {
        if (info.type == dtl::SES_DELETE) {
            place.to++;
        } else if (info.type == dtl::SES_ADD) {
            place.other_to++;
        } else {
            finish();
            place = {.from = place.to + 1,
                     .to = place.to + 1,
                     .other_from = place.other_to + 1,
                     .other_to = place.other_to + 1};
        }
    }
    finish();
    return changes;
}

}  // namespace

std::vector<std::string_view> body_lines(std::string_view body) {
    std::vector<std::string_view> lines;
    while (!body.empty()) {
        const size_t end = std::min(body.find('\n'), body.size());
        lines.push_back(body.substr(0, end));
        body.remove_prefix(std::min(end + 1, body.size()));
    }
    return lines;
}

std::vector<TranscriptLine> lines_of(const Transcript& transcript) {
    std::vector<TranscriptLine> lines;
    const auto& events = transcript.events();
    for (size_t i = 0; i < events.size(); i++) {
        const std::string kind = std::to_string(events[i].depth) + ' ' + events[i].verb;
        // A print has no line of its own.
        if (events[i].verb != "print")
            lines.push_back(
                {.origin = {.event = i, .line = 0}, .kind = kind, .text = events[i].text});
        size_t number = 0;
        for (const std::string_view line : body_lines(events[i].body))
            lines.push_back({.origin = {.event = i, .line = ++number},
                             .kind = kind + ' ' + events[i].text,
                             .text = std::string(line)});
    }
    return lines;
}

std::vector<LineChange> compare_lines(std::span<const std::string> lines,
                                      std::span<const std::string> others) {
    Numbers numbers;
    std::vector<size_t> a;
    std::vector<size_t> b;
    for (const std::string& line : lines) a.push_back(numbers.of(line));
    for (const std::string& line : others) b.push_back(numbers.of(line));
    return compare_numbers(a, b);
}

std::vector<LineChange> compare_lines(std::span<const TranscriptLine> lines,
                                      std::span<const TranscriptLine> others) {
    Numbers numbers;
    std::vector<size_t> a;
    std::vector<size_t> b;
    for (const TranscriptLine& line : lines) a.push_back(numbers.of(line.kind + '\n' + line.text));
    for (const TranscriptLine& line : others) b.push_back(numbers.of(line.kind + '\n' + line.text));
    return compare_numbers(a, b);
}
