// The report's findings: the settings that nvram check reports, errors first.

#include "plan/report/report_findings.h"

#include <fmt/format.h>

#include <algorithm>

#include "check/check.h"
#include "plan/report/html.h"

namespace {

const char* level_name(nvram::Level level) {
    switch (level) {
        case nvram::Level::Error:
            return "error";
        case nvram::Level::Warning:
            return "warning";
        case nvram::Level::Note:
            break;
    }
    return "note";
}

// The settings that the router has, as a text image; nullptr without any.
const std::string* image_of(const World& world) {
    const std::string* image = world.get(working_copy);
    return image ? image : world.get(factory_image);
}

// The setting's name; a link if lines depend on it.
std::string key_html(const Report& report, const std::string& key) {
    const Input input = {.kind = Input::Kind::Setting, .name = key};
    std::string name = "<code>" + html_escaped(key) + "</code>";
    if (!report.subjects.contains(input)) return name;
    return fmt::format(R"(<a href="#{}">{}</a>)", subject_id(input), name);
}

// A check's texts have the escapes of an image, so only those of HTML are added.
std::string finding_html(const Report& report, const nvram::Finding& finding) {
    std::string text = html_escaped(finding.problem);
    if (!finding.effect.empty()) text += "; rc " + html_escaped(finding.effect);
    if (!finding.fix.empty()) text += "; fix: <code>" + html_escaped(finding.fix) + "</code>";
    return fmt::format(
        R"(<li class="line finding {0}"><span class="verb">{0}</span> {1} <span class="help">{2}</span></li>)"
        "\n",
        level_name(finding.level), key_html(report, finding.key), text);
}

// "2 errors, 1 warning"
std::string counts_text(const std::vector<nvram::Finding>& findings) {
    std::string text;
    for (const nvram::Level level :
         {nvram::Level::Error, nvram::Level::Warning, nvram::Level::Note}) {
        const auto count =
            static_cast<size_t>(std::ranges::count(findings, level, &nvram::Finding::level));
        if (count > 0) text += (text.empty() ? "" : ", ") + counted(count, level_name(level));
    }
    return text.empty() ? "nothing found" : text;
}

}  // namespace

void put_findings(std::string& out, const Report& report) {
    const std::string* image = image_of(report.plan.before);
    if (!image) return;
    std::vector<nvram::Finding> findings = nvram::check_settings(nvram::Image(*image));
    std::ranges::stable_sort(findings, std::ranges::greater(), &nvram::Finding::level);
    const bool serious = !findings.empty() && findings.front().level != nvram::Level::Note;
    out += fmt::format(
        R"(<section id="findings" class="group"><h2>Check</h2><details class="findings"{}>)"
        R"(<summary class="note"><code>nvram check</code>: {}</summary><ul>)",
        serious ? " open" : "", counts_text(findings));
    for (const nvram::Finding& finding : findings) out += finding_html(report, finding);
    out += "</ul></details></section>\n";
}
