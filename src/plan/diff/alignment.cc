// Aligns two transcripts.

#include "plan/diff/alignment.h"

#include <algorithm>

#include "plan/router/lines.h"

namespace {

struct Pair {
    size_t a;
    size_t b;
};

// A longest common subsequence, in order.
std::vector<Pair> common(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    std::vector<Pair> pairs;
    Pair next = {.a = 0, .b = 0};
    const auto take_until = [&](size_t end) {
        for (; next.a < end; next.a++, next.b++) pairs.push_back(next);
    };
    for (const LineChange& change : compare_lines(a, b)) {
        take_until(change.from);
        next = {.a = change.to, .b = change.other_to};
    }
    take_until(a.size());
    return pairs;
}

std::string head_of(const Event& event) {
    return std::to_string(event.depth) + ' ' + event.verb + ' ' + event.text;
}

std::string whole_of(const Event& event) {
    return head_of(event) + (event.has_body ? "\n=" : "\n") + event.body;
}

using Texts = std::vector<std::string>;

Texts texts_of(const Transcript& transcript, std::string (*text)(const Event&)) {
    Texts texts;
    for (const Event& event : transcript.events()) texts.push_back(text(event));
    return texts;
}

Texts slice(const Texts& texts, size_t from, size_t to) {
    return {texts.begin() + static_cast<ptrdiff_t>(from),
            texts.begin() + static_cast<ptrdiff_t>(to)};
}

std::vector<SharedEvent> shared_events(const Transcript& a, const Transcript& b) {
    const Texts heads_a = texts_of(a, head_of);
    const Texts heads_b = texts_of(b, head_of);
    std::vector<SharedEvent> shared;
    Pair next = {.a = 0, .b = 0};
    // Between two identical events, match those with the same text of their own.
    const auto match_heads = [&](Pair end) {
        for (const Pair& pair :
             common(slice(heads_a, next.a, end.a), slice(heads_b, next.b, end.b)))
            shared.push_back({.a = next.a + pair.a, .b = next.b + pair.b});
    };
    for (const Pair& same : common(texts_of(a, whole_of), texts_of(b, whole_of))) {
        match_heads(same);
        shared.push_back({.a = same.a, .b = same.b});
        next = {.a = same.a + 1, .b = same.b + 1};
    }
    match_heads({.a = a.events().size(), .b = b.events().size()});
    return shared;
}

std::vector<Texts> lines_by_event(const Transcript& transcript) {
    std::vector<Texts> lines;
    for (const Event& event : transcript.events()) lines.push_back(event_lines(event));
    return lines;
}

KeptLines none_of(const std::vector<Texts>& lines) {
    KeptLines kept;
    for (const Texts& event : lines) kept.emplace_back(event.size(), false);
    return kept;
}

}  // namespace

Alignment align(const Transcript& a, const Transcript& b) {
    const std::vector<Texts> lines_a = lines_by_event(a);
    const std::vector<Texts> lines_b = lines_by_event(b);
    Alignment alignment = {
        .shared = shared_events(a, b), .a = none_of(lines_a), .b = none_of(lines_b)};
    for (const SharedEvent& event : alignment.shared)
        for (const Pair& line : common(lines_a[event.a], lines_b[event.b])) {
            alignment.a[event.a][line.a] = true;
            alignment.b[event.b][line.b] = true;
        }
    return alignment;
}

bool same_events(const Transcript& a, const Transcript& b) {
    return std::ranges::equal(a.events(), b.events(), [](const Event& left, const Event& right) {
        return whole_of(left) == whole_of(right);
    });
}
