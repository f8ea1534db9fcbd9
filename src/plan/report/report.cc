// The report's page: head, style and script around its sections.

#include "plan/report/report.h"

#include <fmt/format.h>

#include <algorithm>

#include "libnvram/secret.h"
#include "plan/report/html.h"
#include "plan/report/report_files.h"
#include "plan/report/report_findings.h"
#include "plan/report/report_firewall.h"
#include "plan/report/report_open.h"
#include "plan/report/report_page.h"
#include "plan/report/report_parts.h"
#include "plan/report/report_subjects.h"
#include "plan/report/report_timeline.h"

namespace {

// The page loads nothing and runs only its own script, whatever a setting contains.
std::string policy() {
    return "default-src 'none'; base-uri 'none'; form-action 'none'; style-src " +
           policy_source(page_style_sha256) + "; script-src " + policy_source(page_script_sha256);
}

std::string command_html(const Plan& plan) {
    std::string line;
    for (const std::string& word : plan.words) {
        const bool quoted = word.empty() || word.find(' ') != std::string::npos;
        line += (line.empty() ? "" : " ") + (quoted ? "\"" + word + "\"" : word);
    }
    return shown_line(line);
}

std::string totals_html(const Plan& plan) {
    const Totals totals = plan.after.transcript.totals();
    std::string out = R"(<dl class="totals">)";
    const auto add = [&](const char* name, const std::string& value) {
        out += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", name, value);
    };
    add("exit status", std::to_string(plan.status));
    add("commands", std::to_string(totals.commands));
    add("files written", std::to_string(totals.files));
    add("settings stored", std::to_string(totals.settings));
    add("pauses", fmt::format("{:.6g} s", static_cast<double>(totals.microseconds) / 1e6));
    return out + "</dl>\n";
}

// A KEY=VALUE with the value of a secret masked.
std::string set_html(const std::string& set) {
    const size_t equals = std::min(set.find('='), set.size());
    const bool secret = nvram::is_secret(set.substr(0, equals));
    return "<code>" + shown_line(secret ? set.substr(0, equals) + "=" + std::string(mask) : set) +
           "</code>";
}

std::string source_html(const ReportSource& source) {
    std::string out = R"(<dl class="source">)";
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty()) out += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", name, value);
    };
    const auto file = [](const std::string& name) {
        return name.empty() ? R"(<span class="note">none</span>)"
                            : "<code>" + shown_line(name) + "</code>";
    };
    std::string sets;
    for (const std::string& set : source.sets) sets += (sets.empty() ? "" : " ") + set_html(set);
    add("settings", file(source.settings_file));
    add("changed settings", sets);
    add("world", file(source.world_file));
    add("made on", html_escaped(source.date));
    add("version", html_escaped(source.version));
    return out + "</dl>\n";
}

struct Part {
    const char* id;
    const char* title;
    void (*put)(std::string& out, const Report& report);
};
constexpr Part parts[] = {
    {"findings", "Check", put_findings},    {"timeline", "Timeline", put_timeline},
    {"files", "Files", put_files},          {"open", "Open", put_open},
    {"firewall", "Firewall", put_firewall}, {"settings", "Settings", put_settings},
    {"assumed", "Assumed", put_facts},
};

}  // namespace

std::string report_html(const Plan& plan, const Provenance& provenance,
                        const ReportSource& source) {
    const Report report(plan, provenance);
    std::string links;
    std::string body;
    for (const Part& part : parts) {
        const size_t before = body.size();
        part.put(body, report);
        // An empty section is left out.
        if (body.size() > before)
            links += fmt::format(R"(<li><a href="#{}">{}</a></li>)", part.id, part.title);
    }
    const std::string command = command_html(plan);
    std::string out = fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<title>Plan: {}</title>\n<style>{}</style>\n</head>\n<body>\n",
        policy(), command, page_style);
    out += fmt::format(
        "<header><p class=\"kind\">Plan of</p><h1><code>{}</code></h1>\n{}{}</header>\n"
        "<nav aria-label=\"sections\"><ul>{}</ul><div role=\"search\" hidden>"
        "<output for=\"filter\"></output> <label for=\"filter\">Filter</label> "
        "<input type=\"search\" id=\"filter\" autocomplete=\"off\" spellcheck=\"false\""
        " title=\"any text, or chain:NAME, table:NAME, setting:NAME\"></div>"
        "</nav>\n",
        command, totals_html(plan), source_html(source), links);
    out += "<main>\n" + body + "</main>\n";
    out += "<footer><p>A plan shows what <code>rc</code> would do; nothing was executed. ";
    out += "In texts, <code>\\xNN</code> is a byte that is not printable ASCII, ";
    out += "<code>\\t</code> a tab, <code>\\s</code> a space at the end of a line. ";
    out += fmt::format("<code>{}</code> replaces a secret. ", mask);
    out += "The filter finds any text, and with <code>chain:</code>, <code>table:</code> or ";
    out += "<code>setting:</code> in front only such names. ";
    out += "Print shows what is unfolded and not filtered out.</p></footer>\n";
    out += fmt::format("<script>{}</script>\n</body>\n</html>\n", page_script);
    return out;
}
