// Plans as text.

#include "rcplan/timeline.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

constexpr const char* no_colour = "\033[0m";
constexpr const char* dim = "\033[2m";

struct VerbColour {
    std::string_view verb;
    const char* start;
};

constexpr VerbColour verb_colours[] = {
    {"run", "\033[1m"},     {"pipe", "\033[1m"},    {"write", "\033[32m"},
    {"append", "\033[32m"}, {"remove", "\033[31m"}, {"pause", "\033[33m"},
    {"set", "\033[36m"},    {"commit", "\033[36m"}, {"error", "\033[31m"},
};

class Writer {
  public:
    Writer(const Plan& plan, const Provenance* provenance, TimelineStyle style)
        : plan_(plan), provenance_(provenance), style_(style) {}

    std::string whole();

  private:
    const Plan& plan_;
    const Provenance* provenance_;
    TimelineStyle style_;
    std::string out_;

    void event(size_t index, const std::string& left);
    void line(const std::string& left, const std::string& text, const char* colour);
    void why(const Origin& origin, int depth);
    void assumed();
};

const char* colour_of(const std::string& verb) {
    const auto* const found = std::ranges::find(verb_colours, verb, &VerbColour::verb);
    return found == std::end(verb_colours) ? "" : found->start;
}

void Writer::line(const std::string& left, const std::string& text, const char* colour) {
    if (style_.colour)
        out_ += fmt::format("{}{:>8}{}  {}{}{}\n", dim, left, no_colour, colour, text, no_colour);
    else
        out_ += fmt::format("{:>8}  {}\n", left, text);
}

// The conditions for an event are shown once, at the event, not at each of its lines.
void Writer::why(const Origin& origin, int depth) {
    if (!provenance_) return;
    const std::vector<Influence>& head = provenance_->of({.event = origin.event, .line = 0});
    std::string list;
    for (const Influence& influence : provenance_->of(origin)) {
        const bool at_event =
            origin.line > 0 && std::ranges::any_of(head, [&](const Influence& other) {
                return other.same_as(influence);
            });
        if (!at_event) list += (list.empty() ? "" : "; ") + influence.text();
    }
    if (list.empty()) return;
    line("", fmt::format("{:{}}     <- {}", "", depth * 4, list), style_.colour ? dim : "");
}

void Writer::event(size_t index, const std::string& left) {
    const Event& event = plan_.after.transcript.events()[index];
    const std::vector<std::string> lines = event_lines(event);
    const char* colour = colour_of(event.verb);
    // A print has no heading line, only its output. Rows of hexadecimal digits are not lines.
    const size_t first = event.verb == "print" ? 1 : 0;
    const bool is_binary = event.body.find('\0') != std::string::npos;
    for (size_t i = 0; i < lines.size(); i++) {
        line(i == 0 ? left : "", lines[i], i == 0 ? colour : "");
        if (i == 0 || !is_binary) why({.event = index, .line = i + first}, event.depth);
    }
}

void Writer::assumed() {
    const std::vector<Influence> facts = provenance_ ? provenance_->assumed() : facts_read(plan_);
    if (facts.empty()) return;
    out_ += "assumed about the router (override with --world):\n";
    for (const Influence& fact : facts) out_ += "       " + fact.text() + "\n";
}

std::string Writer::whole() {
    const std::vector<long long> elapsed = elapsed_microseconds(plan_.after.transcript);
    long long shown = -1;
    for (size_t i = 0; i < plan_.after.transcript.events().size(); i++) {
        event(i, elapsed[i] == shown ? "" : in_seconds(elapsed[i]));
        shown = elapsed[i];
    }
    out_ += plan_.after.transcript.summary();
    assumed();
    return std::move(out_);
}

}  // namespace

std::string timeline(const Plan& plan, const Provenance* provenance, TimelineStyle style) {
    return Writer(plan, provenance, style).whole();
}
