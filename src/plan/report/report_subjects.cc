// The report's settings and facts of the router: each with the lines that depend on it.

#include "plan/report/report_subjects.h"

#include <fmt/format.h>

#include "plan/report/html.h"
#include "settings/records.h"
#include "settings/table.h"

namespace {

// A longer list of groups starts folded.
constexpr size_t open_groups = 3;
// Longer event names are truncated.
constexpr size_t shown_name = 60;

bool is_setting(const Subject& subject) {
    return subject.influence.input.kind == Input::Kind::Setting;
}

// An event and its lines that depend on the subject.
struct Group {
    size_t event = 0;
    std::vector<size_t> lines;
};

std::vector<Group> groups_of(const Report& report, const std::vector<Origin>& lines) {
    std::vector<Group> groups;
    for (const Origin& line : lines) {
        if (groups.empty() || groups.back().event != line.event)
            groups.push_back({.event = line.event, .lines = {}});
        // Binary content has no lines.
        if (line.line > 0 && !is_binary(report.event(line.event)))
            groups.back().lines.push_back(line.line);
    }
    return groups;
}

std::string name_html(const Report& report, const Origin& origin, const std::string& text) {
    std::string name = escape_line(report.redaction.line(origin, text));
    if (name.size() > shown_name) name.replace(shown_name, std::string::npos, "...");
    return html_escaped(name);
}

// "write /tmp/rules lines 3 4 7"; printed lines get an item each.
std::string group_html(const Report& report, const Group& group) {
    const Event& event = report.event(group.event);
    std::string out;
    if (event.verb == "print") {
        const auto lines = body_lines(event.body);
        for (const size_t line : group.lines)
            out += fmt::format(
                R"(<li><a href="#{}">print <code>{}</code></a></li>)", line_id({group.event, line}),
                name_html(report, {group.event, line}, std::string(lines[line - 1])));
        return out;
    }
    out = fmt::format(R"(<li><a href="#{}">{} <code>{}</code></a>)", line_id({group.event, 0}),
                      html_escaped(event.verb), name_html(report, {group.event, 0}, event.text));
    if (!group.lines.empty()) out += group.lines.size() == 1 ? " line" : " lines";
    for (const size_t line : group.lines)
        out += fmt::format(R"( <a href="#{}">{}</a>)", line_id({group.event, line}), line);
    return out + "</li>";
}

std::string uses_html(const Report& report, const Subject& subject) {
    const std::vector<Group> groups = groups_of(report, subject.lines);
    std::string list = R"(<ul class="uses">)";
    for (const Group& group : groups) list += group_html(report, group);
    list += "</ul>";
    if (groups.size() <= open_groups) return list;
    return fmt::format("<details><summary>{}</summary>{}</details>",
                       counted(subject.lines.size(), "line"), list);
}

// Reasons name entries by number, so each has its line.
std::string list_html(const Input& input, const nvram::Record& record, const std::string& value) {
    std::string out;
    if (record.ignored_prefix > 0)
        out += "<code>" + shown_line(value.substr(0, record.ignored_prefix)) + "</code>";
    out += R"(<ol class="entries">)";
    unsigned number = 0;
    for (const std::string_view entry : nvram::split_records(record, value))
        out += fmt::format(R"(<li id="{}"><code>{}</code></li>)", entry_id(input, ++number),
                           shown_line(entry));
    return out + "</ol>";
}

std::string setting_value_html(const Report& report, const Influence& setting) {
    if (!setting.answer) return R"(<span class="note">not set</span>)";
    if (setting.answer->empty()) return R"(<span class="note">empty</span>)";
    const std::string value = report.redaction.answer(setting);
    const nvram::KnownSetting* known = nvram::find_known(setting.input.name);
    const bool list = known && known->record && known->record->between != '\0';
    return list ? list_html(setting.input, *known->record, value)
                : "<code>" + shown_line(value) + "</code>";
}

// The setting's help from the table of settings, and the meaning of an empty or missing value.
std::string help_html(const Influence& setting) {
    const nvram::KnownSetting* known = nvram::find_known(setting.input.name);
    if (!known) return "";
    std::string help = html_escaped(known->help);
    const std::string_view absent = *known->when_absent ? known->when_absent : known->when_empty;
    if (!setting.answer && !absent.empty())
        help += fmt::format(R"( <span class="note">Not set: {}.</span>)", html_escaped(absent));
    if (setting.answer && setting.answer->empty() && *known->when_empty)
        help += fmt::format(R"( <span class="note">Empty: {}.</span>)",
                            html_escaped(known->when_empty));
    return help;
}

}  // namespace

void put_settings(std::string& out, const Report& report) {
    std::string rows;
    for (const auto& [input, subject] : report.subjects) {
        if (!is_setting(subject)) continue;
        rows += fmt::format(
            R"(<tr class="line" id="{}"><th scope="row"><code>{}</code></th><td>{}</td>)"
            R"(<td class="help">{}</td><td>{}</td></tr>)"
            "\n",
            subject_id(input), shown_line(input.name),
            setting_value_html(report, subject.influence), help_html(subject.influence),
            uses_html(report, subject));
    }
    if (rows.empty()) return;
    out += R"(<section id="settings" class="group"><h2>Settings</h2>)"
           R"(<p class="note">Settings that a line depends on. Passwords and keys are masked.</p>)"
           R"(<table><thead><tr><th scope="col">setting</th><th scope="col">value</th>)"
           R"(<th scope="col">description</th><th scope="col">lines that depend on it</th></tr>)"
           R"(</thead><tbody>)";
    out += rows + "</tbody></table></section>\n";
}

void put_facts(std::string& out, const Report& report) {
    std::string items;
    for (const auto& [input, subject] : report.subjects) {
        if (is_setting(subject)) continue;
        items +=
            fmt::format(R"(<li class="line" id="{}"><p>{}</p>{}</li>)"
                        "\n",
                        subject_id(input), html_escaped(statement(input, subject.influence.answer)),
                        uses_html(report, subject));
    }
    if (items.empty()) return;
    out += R"(<section id="assumed" class="group"><h2>Assumed about the router</h2>)"
           R"(<p class="note">Override with <code>--world</code>.</p><ul class="facts">)";
    out += items + "</ul></section>\n";
}
