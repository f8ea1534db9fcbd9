// The report's time-line: every entry of the transcript, bodies of files and nested runs to unfold.

#include "plan/report/report_timeline.h"

#include <fmt/format.h>

#include "plan/report/html.h"
#include "plan/router/transcript.h"

namespace {

// Longer bodies are folded at first.
constexpr size_t open_lines = 8;

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
    out_ += R"(<section id="timeline" class="group"><h2>Time-line</h2><ol class="events">)";
    while (at_ < events().size()) run(events()[at_].depth);
    out_ += "</ol></section>\n";
}

// The entries of a run, from here to its end.
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
    const Event& told = events()[index];
    out_ += R"(<li class="event group">)";
    line({index, 0}, told.verb, told.text);
    if (told.has_body) body(index);
    if (at_ < events().size() && events()[at_].depth > told.depth) nested(index);
    out_ += "</li>\n";
}

void Writer::nested(size_t index) {
    const int depth = events()[index].depth + 1;
    size_t end = at_;
    while (end < events().size() && events()[end].depth >= depth) end++;
    const Event& last = events()[end - 1];
    out_ += fmt::format(
        R"(<details class="nested"><summary>the run that it starts: {}, exit {}</summary>)",
        counted(end - at_, "step"), last.verb == "exit" ? html_escaped(last.text) : "unknown");
    out_ += R"(<ol class="events">)";
    run(depth);
    out_ += "</ol></details>";
}

// The time is seen where it is another than above.
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

// Output has no line of its own; each line of it stands like an entry.
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
    const Event& told = events()[index];
    const auto lines = body_lines(told.body);
    if (lines.empty()) {
        out_ += R"(<p class="note">an empty file</p>)";
        return;
    }
    out_ += fmt::format(
        R"(<details class="body"{}><summary>{}</summary><ol class="content">)",
        lines.size() <= open_lines ? " open" : "",
        is_binary(told) ? counted(told.body.size(), "byte") : counted(lines.size(), "line"));
    if (is_binary(told))
        hex_body(index);
    else
        text_body(index, lines);
    out_ += "</ol></details>";
}

void Writer::text_body(size_t index, const std::vector<std::string_view>& lines) {
    for (size_t i = 0; i < lines.size(); i++) {
        const Origin origin = {index, i + 1};
        const bool ended = i + 1 < lines.size() || events()[index].body.ends_with('\n');
        out_ += fmt::format(
            R"(<li class="line" id="{}"><span class="number">{}</span> <code>{}</code>{}{}</li>)",
            line_id(origin), i + 1, text_html(report_, origin, std::string(lines[i])),
            ended ? "" : R"( <span class="note">no newline at the end</span>)",
            why_html(report_, own_reasons(report_, origin)));
    }
}

// A binary body's reasons stand at its first line, since bytes have no lines.
void Writer::hex_body(size_t index) {
    const Event& told = events()[index];
    std::vector<Influence> reasons;
    FileLine all;
    for (size_t i = 0; i < body_lines(told.body).size(); i++) all.origins.push_back({index, i + 1});
    reasons = own_reasons(report_, all);

    std::vector<std::string> lines = event_lines(told);
    lines.erase(lines.begin());
    if (report_.masks.in_body(index)) lines = {std::string(mask)};
    for (size_t i = 0; i < lines.size(); i++) {
        const size_t start = lines[i].find_first_not_of(" x");
        out_ += fmt::format(R"(<li class="line"><code>{}</code>{}</li>)",
                            html_escaped(lines[i].substr(start)),
                            i == 0 ? why_html(report_, reasons) : "");
    }
}

}  // namespace

void put_timeline(std::string& out, const Report& report) {
    Writer(out, report).whole();
}
