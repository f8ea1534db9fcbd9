// Functions shared by the sections of a report's page.

#include "plan/report/report_parts.h"

#include <fmt/format.h>

#include <algorithm>

#include "plan/report/html.h"
#include "plan/report/report_open.h"

namespace {

// A longer value is shown whole only in the table of settings.
constexpr size_t shown_value = 60;

std::string shortened(const std::string& value) {
    std::string line = escape_line(value);
    if (line.size() > shown_value) line.replace(shown_value, std::string::npos, "...");
    return html_escaped(line);
}

bool holds(const std::vector<Influence>& list, const Influence& influence) {
    return std::ranges::any_of(list, [&](const Influence& one) { return one.same_as(influence); });
}

}  // namespace

Report::Report(const Plan& shown, const Provenance& traced)
    : plan(shown),
      redaction(shown, traced),
      provenance(redaction.provenance(traced)),
      tables(netfilter_of(shown.after.transcript, shown.before)),
      open(open_from_wan(shown, tables, provenance)),
      files(produced_lines(shown)) {
    for (size_t file = 0; file < files.size(); file++)
        for (size_t line = 0; line < files[file].lines.size(); line++)
            for (const Origin& origin : files[file].lines[line].origins)
                if (origin.line > 0) places.try_emplace(origin, file, line);
    for (const TranscriptLine& line : lines_of(plan.after.transcript)) {
        for (Influence influence : provenance.of(line.origin)) {
            influence.decides = false;
            influence.entries.clear();
            Subject& subject = subjects[influence.input];
            subject.influence = influence;
            // Entries of a list that decide, and others that the line contains, are two influences.
            if (subject.lines.empty() || subject.lines.back() != line.origin)
                subject.lines.push_back(line.origin);
        }
    }
}

std::string line_id(const Origin& origin) {
    if (origin.line == 0) return fmt::format("line-{}", origin.event + 1);
    return fmt::format("line-{}-{}", origin.event + 1, origin.line);
}

std::string file_id(size_t file) {
    return fmt::format("produced-{}", file + 1);
}

std::string file_line_id(size_t file, size_t line) {
    return fmt::format("produced-{}-{}", file + 1, line + 1);
}

std::string subject_id(const Input& input) {
    return std::string(kind_name(input.kind)) + "-" + anchor(input.name);
}

// No name's anchor has a full stop.
std::string entry_id(const Input& setting, unsigned entry) {
    return fmt::format("{}.{}", subject_id(setting), entry);
}

std::vector<Influence> own_reasons(const Report& report, const Origin& origin) {
    std::vector<Influence> reasons = report.provenance.of(origin);
    if (origin.line == 0) return reasons;
    const std::vector<Influence>& head = report.provenance.of({origin.event, 0});
    std::erase_if(reasons, [&](const Influence& reason) { return holds(head, reason); });
    return reasons;
}

std::vector<Influence> own_reasons(const Report& report, const FileLine& line) {
    std::vector<Influence> reasons;
    for (const Origin& origin : line.origins)
        for (const Influence& reason : own_reasons(report, origin))
            if (!holds(reasons, reason)) reasons.push_back(reason);
    return reasons;
}

std::string reason_html(const Report& report, const Influence& influence) {
    const std::string condition = influence.decides ? "if " : "";
    const std::string id = subject_id(influence.input);
    if (influence.input.kind != Input::Kind::Setting)
        return fmt::format(R"({}<a href="#{}">{}</a>)", condition, id,
                           html_escaped(statement(influence.input, influence.answer)));
    const std::string entries = influence.entries.empty() ? "" : " " + influence.entries_text();
    std::string value = " is not set";
    if (influence.entries.size() > 1)
        value = "";
    else if (influence.answer)
        value = "=<code>" + shortened(report.redaction.answer(influence)) + "</code>";
    const std::string target =
        influence.entries.size() == 1 ? entry_id(influence.input, influence.entries[0]) : id;
    return fmt::format(R"({}<a href="#{}"><code>{}</code>{}</a>{})", condition, target,
                       shown_line(influence.input.name), entries, value);
}

std::string why_html(const Report& report, const std::vector<Influence>& reasons) {
    if (reasons.empty()) return "";
    std::string out = R"(<details class="why"><summary>why</summary><ul>)";
    for (const Influence& reason : reasons) out += "<li>" + reason_html(report, reason) + "</li>";
    return out + "</ul></details>";
}

std::string reasons_html(const Report& report, const std::vector<Influence>& reasons) {
    if (reasons.empty()) return "";
    std::string out = R"(<span class="reasons">)";
    for (size_t i = 0; i < reasons.size(); i++)
        out += (i == 0 ? "" : "; ") + reason_html(report, reasons[i]);
    return out + "</span>";
}

std::string text_html(const Report& report, const Origin& origin, const std::string& text) {
    return shown_line(report.redaction.line(origin, text));
}

bool is_binary(const Event& event) {
    return event.body.find('\0') != std::string::npos;
}

std::string place_html(const Report& report, const Origin& origin) {
    const auto place = report.places.find(origin);
    if (place != report.places.end()) {
        const auto& [file, line] = place->second;
        return fmt::format(R"(<a class="place" href="#{}">{}:{}</a>)", file_line_id(file, line),
                           shown_line(report.redaction.path(report.files[file].path)), line + 1);
    }
    const Event& event = report.event(origin.event);
    const bool is_file = event.verb == "write" || event.verb == "append";
    const std::string name =
        is_file ? report.redaction.line({origin.event, 0}, event.text) : event.verb;
    return fmt::format(R"(<a class="place" href="#{}">{}{}</a>)", line_id(origin), shown_line(name),
                       origin.line > 0 ? fmt::format(":{}", origin.line) : "");
}

std::string counted(size_t count, const char* one) {
    return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}
