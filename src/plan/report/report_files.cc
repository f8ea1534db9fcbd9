// The report's files: each file that the run creates or changes, with the settings behind each
// line.

#include "plan/report/report_files.h"

#include <fmt/format.h>

#include <algorithm>

#include "plan/report/html.h"

namespace {

// A line's number links to the event that wrote it.
std::string number_html(const FileLine& line, size_t number) {
    if (line.origins.empty()) return fmt::format(R"(<span class="number">{}</span>)", number);
    return fmt::format(R"(<a class="number" href="#{}" title="where it is written")"
                       R"( aria-label="line {}, where it is written">{}</a>)",
                       line_id(line.origins.front()), number, number);
}

// Of a settings image, only the settings that the run stores are shown.
bool is_shown(const FollowedFile& file, const FileLine& line) {
    return !file.image() || !line.origins.empty();
}

std::string size_text(const Report& report, const FollowedFile& file) {
    const size_t bytes = report.plan.after.world.get(file.path)->size();
    if (bytes == 0) return "empty";
    if (file.binary()) return counted(bytes, "byte");
    const auto shown = static_cast<size_t>(std::ranges::count_if(
        file.lines, [&](const FileLine& line) { return is_shown(file, line); }));
    const std::string lines = counted(file.lines.size(), "line");
    return shown == file.lines.size()
               ? lines
               : fmt::format("{} of {}: those stored by the run", shown, lines);
}

void put_lines(std::string& out, const Report& report, size_t index) {
    const FollowedFile& file = report.files[index];
    for (size_t i = 0; i < file.lines.size(); i++) {
        if (!is_shown(file, file.lines[i])) continue;
        const bool ended = i + 1 < file.lines.size() || file.ended;
        out += fmt::format(R"(<li class="line" id="{}">{} <code>{}</code>{}{}</li>)",
                           file_line_id(index, i), number_html(file.lines[i], i + 1),
                           shown_line(report.redaction.line(file, file.lines[i])),
                           ended ? "" : R"( <span class="note">no newline at the end</span>)",
                           reasons_html(report, own_reasons(report, file.lines[i])));
    }
}

void put_bytes(std::string& out, const Report& report, const FollowedFile& file) {
    Event event = {.verb = "write",
                   .text = "",
                   .body = *report.plan.after.world.get(file.path),
                   .has_body = true};
    bool secret = false;
    FileLine all;
    for (const FileLine& line : file.lines) {
        secret = secret || report.redaction.line(file, line) != line.text;
        all.origins.insert(all.origins.end(), line.origins.begin(), line.origins.end());
    }
    std::vector<std::string> lines = event_lines(event);
    lines.erase(lines.begin());
    if (secret) lines = {std::string(mask)};
    for (const std::string& line : lines)
        out += fmt::format(R"(<li class="line"><code>{}</code></li>)",
                           html_escaped(line.substr(line.find_first_not_of(" x"))));
    const std::string reasons = reasons_html(report, own_reasons(report, all));
    if (!reasons.empty()) out += "<li>" + reasons + "</li>";
}

}  // namespace

void put_files(std::string& out, const Report& report) {
    if (report.files.empty()) return;
    out +=
        R"(<section id="files" class="group"><h2>Files</h2>)"
        R"(<p class="note">The files that the run creates or changes, in their final state.</p>)";
    for (size_t index = 0; index < report.files.size(); index++) {
        const FollowedFile& file = report.files[index];
        out += fmt::format(
            R"(<details class="file group" id="{}"><summary class="head"><code>{}</code>)"
            R"( <span class="note">{}</span></summary><ol class="content">)",
            file_id(index), shown_line(report.redaction.path(file.path)), size_text(report, file));
        if (file.binary())
            put_bytes(out, report, file);
        else
            put_lines(out, report, index);
        out += "</ol></details>\n";
    }
    out += "</section>\n";
}
