// The report's timeline: every event of the transcript, with file bodies and nested runs to unfold.

#include "plan/report/report_timeline.h"

#include <fmt/format.h>

#include <algorithm>

#include "plan/report/html.h"
#include "plan/router/transcript.h"

namespace {

// Longer bodies start folded.
constexpr size_t open_lines = 8;
// Of a binary body, as many rows: the file as it remains is shown whole, and rc writes the file of
// leases once for each reservation.
constexpr size_t shown_rows = 8;

class Writer {
  public:
    Writer(std::string& out, const Report& report)
        : out_(out),
          report_(report),
          elapsed_(elapsed_microseconds(report.plan.after.transcript)) {}
    void whole();

  private:
    std::string& out_;
    const Report& report_;
    std::vector<long long> elapsed_;
    long long shown_ = -1;
    size_t at_ = 0;

    const std::vector<Event>& events() const { return report_.plan.after.transcript.events(); }
    void run(int depth);
    void event(size_t index);
    void nested(size_t index);
    void line(const Origin& origin, std::string_view verb, const std::string& text);
    void printed(size_t index);
    void body(size_t index);
    void text_body(size_t index, const std::vector<std::string_view>& lines);
    void hex_body(size_t index);
};

void Writer::whole() {
    out_ += R"(<section id="timeline" class="group"><h2>Timeline</h2><ol class="events">)";
    while (at_ < events().size()) run(events()[at_].depth);
    out_ += "</ol></section>\n";
}

// The events of a run, from here to its end.
void Writer::run(int depth) {
    while (at_ < events().size() && events()[at_].depth >= depth) {
        const size_t index = at_++;
        if (events()[index].verb == "print")
            printed(index);
        else
            event(index);
    }
}

void Writer::event(size_t index) {
    const Event& event = events()[index];
    out_ += R"(<li class="event group">)";
    line({index, 0}, event.verb, event.text);
    if (event.has_body) body(index);
    if (at_ < events().size() && events()[at_].depth > event.depth) nested(index);
    out_ += "</li>\n";
}

void Writer::nested(size_t index) {
    const int depth = events()[index].depth + 1;
    size_t end = at_;
    while (end < events().size() && events()[end].depth >= depth) end++;
    const Event& last = events()[end - 1];
    out_ += fmt::format(R"(<details class="nested"><summary>nested run: {}, exit {}</summary>)",
                        counted(end - at_, "step"),
                        last.verb == "exit" ? html_escaped(last.text) : "unknown");
    out_ += R"(<ol class="events">)";
    run(depth);
    out_ += "</ol></details>";
}

// The time is shown if it differs from the line above.
void Writer::line(const Origin& origin, std::string_view verb, const std::string& text) {
    const long long now = elapsed_[origin.event];
    out_ +=
        fmt::format(R"(<div class="line head" id="{}"><span class="time{}">{:.6g} s</span> )",
                    line_id(origin), now == shown_ ? " same" : "", static_cast<double>(now) / 1e6);
    out_ += fmt::format(R"(<span class="verb {0}">{0}</span> <code>{1}</code>{2}</div>)",
                        html_escaped(verb), text_html(report_, origin, text),
                        why_html(report_, own_reasons(report_, origin)));
    shown_ = now;
}

// A print has no heading line; each line of its output is shown as an event.
void Writer::printed(size_t index) {
    const std::string& output = events()[index].body;
    const auto lines = body_lines(output);
    for (size_t i = 0; i < lines.size(); i++) {
        const bool ended = i + 1 < lines.size() || output.ends_with('\n');
        out_ += R"(<li class="event group">)";
        line({index, i + 1}, ended ? "print" : "begin", std::string(lines[i]));
        out_ += "</li>\n";
    }
}

void Writer::body(size_t index) {
    const Event& event = events()[index];
    const auto lines = body_lines(event.body);
    if (lines.empty()) {
        out_ += R"(<p class="note">an empty file</p>)";
        return;
    }
    out_ += fmt::format(
        R"(<details class="body"{}><summary>{}</summary><ol class="content">)",
        lines.size() <= open_lines ? " open" : "",
        is_binary(event) ? counted(event.body.size(), "byte") : counted(lines.size(), "line"));
    if (is_binary(event))
        hex_body(index);
    else
        text_body(index, lines);
    out_ += "</ol></details>";
}

// A line that is in a produced file links to it; its reasons are shown there.
void Writer::text_body(size_t index, const std::vector<std::string_view>& lines) {
    for (size_t i = 0; i < lines.size(); i++) {
        const Origin origin = {index, i + 1};
        const bool ended = i + 1 < lines.size() || events()[index].body.ends_with('\n');
        const auto place = report_.places.find(origin);
        const bool kept = place != report_.places.end();
        const std::string number =
            kept ? fmt::format(R"(<a class="number" href="#{}">{}</a>)",
                               file_line_id(place->second.first, place->second.second), i + 1)
                 : fmt::format(R"(<span class="number">{}</span>)", i + 1);
        out_ +=
            fmt::format(R"(<li class="line" id="{}">{} <code>{}</code>{}{}</li>)", line_id(origin),
                        number, text_html(report_, origin, std::string(lines[i])),
                        ended ? "" : R"( <span class="note">no newline at the end</span>)",
                        kept ? "" : why_html(report_, own_reasons(report_, origin)));
    }
}

// A binary body's reasons are shown at its first line, because bytes have no lines.
void Writer::hex_body(size_t index) {
    const Event& event = events()[index];
    std::vector<Influence> reasons;
    FileLine all;
    for (size_t i = 0; i < body_lines(event.body).size(); i++)
        all.origins.push_back({index, i + 1});
    reasons = own_reasons(report_, all);

    std::vector<std::string> lines = event_lines(event);
    lines.erase(lines.begin());
    if (report_.redaction.in_body(index)) lines = {std::string(mask)};
    for (size_t i = 0; i < std::min(lines.size(), shown_rows); i++) {
        const size_t start = lines[i].find_first_not_of(" x");
        out_ += fmt::format(R"(<li class="line"><code>{}</code>{}</li>)",
                            html_escaped(lines[i].substr(start)),
                            i == 0 ? why_html(report_, reasons) : "");
    }
    if (lines.size() > shown_rows)
        out_ += fmt::format(R"(<li class="note">{} more</li>)",
                            counted(lines.size() - shown_rows, "row"));
}

}  // namespace

void put_timeline(std::string& out, const Report& report) {
    Writer(out, report).whole();
}
