// Transcripts as lines, and their differences.

#include "plan/router/lines.h"

#include <algorithm>
#include <dtl/dtl.hpp>
#include <unordered_map>

namespace {

// Lines as numbers, the same for the same line.
class Numbers {
  public:
    size_t of(const std::string& line) {
        return numbers_.try_emplace(line, numbers_.size()).first->second;
    }

  private:
    std::unordered_map<std::string, size_t> numbers_;
};

using Sequence = std::vector<size_t>;

Sequence slice(const Sequence& whole, size_t from, size_t to) {
    return {whole.begin() + static_cast<ptrdiff_t>(from),
            whole.begin() + static_cast<ptrdiff_t>(to)};
}

// The library reserves some fifty megabytes for any two sequences, and most compared sequences
// differ in at most one place. So the common beginning and end are left out, and the library is not
// called if nothing else is in common.
std::vector<LineChange> compare_numbers(const Sequence& lines, const Sequence& others) {
    const size_t shorter = std::min(lines.size(), others.size());
    size_t head = 0;
    while (head < shorter && lines[head] == others[head]) head++;
    size_t tail = 0;
    while (tail < shorter - head &&
           lines[lines.size() - 1 - tail] == others[others.size() - 1 - tail])
        tail++;
    const LineChange rest = {.from = head,
                             .to = lines.size() - tail,
                             .other_from = head,
                             .other_to = others.size() - tail};
    const Sequence a = slice(lines, rest.from, rest.to);
    const Sequence b = slice(others, rest.other_from, rest.other_to);
    if (a.empty() && b.empty()) return {};
    if (std::find_first_of(a.begin(), a.end(), b.begin(), b.end()) == a.end()) return {rest};

    dtl::Diff<size_t, Sequence> difference(a, b);
    difference.onHuge();
    difference.compose();
    std::vector<LineChange> changes;
    LineChange place = {.from = head, .to = head, .other_from = head, .other_to = head};
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
        // A print has no heading line.
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
