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

namespace {

// A line that is not made yet.
struct RawLine {
    const Event* event = nullptr;
    size_t place = 0;
    size_t number = 0;
    std::string_view text = {};

    // Whether their TranscriptLines have the same kind and text.
    bool operator==(const RawLine& other) const {
        return text == other.text && (number == 0) == (other.number == 0) &&
               event->depth == other.event->depth && event->verb == other.event->verb &&
               (number == 0 || event->text == other.event->text);
    }
};

TranscriptLine made_line(const RawLine& line) {
    std::string kind = std::to_string(line.event->depth) + ' ' + line.event->verb;
    if (line.number > 0) kind += ' ' + line.event->text;
    return {.origin = {.event = line.place, .line = line.number},
            .kind = std::move(kind),
            .text = std::string(line.text)};
}

void append_raw_lines(std::vector<RawLine>& lines, const Event& event, size_t place) {
    // A print has no heading line.
    if (event.verb != "print")
        lines.push_back({.event = &event, .place = place, .number = 0, .text = event.text});
    size_t number = 0;
    for (const std::string_view line : body_lines(event.body))
        lines.push_back({.event = &event, .place = place, .number = ++number, .text = line});
}

std::vector<TranscriptLine> made_lines(std::span<const RawLine> raw) {
    std::vector<TranscriptLine> lines;
    lines.reserve(raw.size());
    for (const RawLine& line : raw) lines.push_back(made_line(line));
    return lines;
}

bool makes_same_lines(const Event& event, const Event& other) {
    return event.depth == other.depth && event.verb == other.verb && event.text == other.text &&
           event.body == other.body;
}

// The number of elements at the beginning that are the same.
template <typename List, typename Same>
size_t common_head(const List& list, const List& other, Same same) {
    const size_t shorter = std::min(list.size(), other.size());
    size_t head = 0;
    while (head < shorter && same(list[head], other[head])) head++;
    return head;
}

// At the end, behind that beginning.
template <typename List, typename Same>
size_t common_tail(const List& list, const List& other, size_t head, Same same) {
    const size_t shorter = std::min(list.size(), other.size()) - head;
    size_t tail = 0;
    while (tail < shorter && same(list[list.size() - 1 - tail], other[other.size() - 1 - tail]))
        tail++;
    return tail;
}

std::vector<RawLine> raw_lines(const std::vector<Event>& events, size_t from, size_t to) {
    std::vector<RawLine> lines;
    for (size_t i = from; i < to; i++) append_raw_lines(lines, events[i], i);
    return lines;
}

}  // namespace

std::vector<TranscriptLine> lines_of(const Transcript& transcript) {
    const std::vector<Event>& events = transcript.events();
    return made_lines(raw_lines(events, 0, events.size()));
}

LineBase::LineBase(const Transcript& transcript)
    : transcript_(transcript), lines_(lines_of(transcript)) {
    size_t line = 0;
    for (size_t i = 0; i <= transcript.events().size(); i++) {
        while (line < lines_.size() && lines_[line].origin.event < i) line++;
        starts_.push_back(line);
    }
}

std::vector<LineBase::Missing> LineBase::missing_in(const Transcript& other) const {
    const std::vector<Event>& events = transcript_.events();
    const std::vector<Event>& others = other.events();
    const size_t same_head = common_head(events, others, makes_same_lines);
    const size_t same_tail = common_tail(events, others, same_head, makes_same_lines);
    const std::vector<RawLine> own = raw_lines(events, same_head, events.size() - same_tail);
    const std::vector<RawLine> theirs = raw_lines(others, same_head, others.size() - same_tail);
    const size_t head = common_head(own, theirs, std::equal_to<>());
    const size_t tail = common_tail(own, theirs, head, std::equal_to<>());

    const size_t from = starts_[same_head] + head;
    const std::span lines = std::span(lines_).subspan(from, own.size() - head - tail);
    const std::vector<TranscriptLine> in_place =
        made_lines(std::span(theirs).subspan(head, theirs.size() - head - tail));
    std::vector<Missing> missing;
    for (const LineChange& change : compare_lines(lines, in_place))
        for (size_t line = change.from; line < change.to; line++) {
            // A line with only its text changed has a counterpart at the same position.
            const size_t peer = change.other_from + (line - change.from);
            const bool replaced = change.to - change.from == change.other_to - change.other_from &&
                                  lines[line].kind == in_place[peer].kind;
            missing.push_back({.line = from + line, .replaced = replaced});
        }
    return missing;
}
