// The report's frame: head, style and script around its parts.

#include "plan/report/report.h"

#include <fmt/format.h>

#include "plan/report/html.h"
#include "plan/report/report_files.h"
#include "plan/report/report_firewall.h"
#include "plan/report/report_page.h"
#include "plan/report/report_parts.h"
#include "plan/report/report_subjects.h"
#include "plan/report/report_timeline.h"

namespace {

// Nothing is loaded, and only the page's own script runs, whatever stands in a setting.
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

struct Part {
    const char* id;
    const char* title;
    void (*put)(std::string& out, const Report& report);
};
constexpr Part parts[] = {
    {"timeline", "Time-line", put_timeline}, {"files", "Files", put_files},
    {"firewall", "Firewall", put_firewall},  {"settings", "Settings", put_settings},
    {"assumed", "Assumed", put_facts},
};

}  // namespace

std::string report_html(const Plan& plan, const Provenance& provenance) {
    const Report report(plan, provenance);
    std::string links;
    std::string body;
    for (const Part& part : parts) {
        const size_t before = body.size();
        part.put(body, report);
        // Without anything to show there is no section.
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
        "<header><p class=\"kind\">Plan of</p><h1><code>{}</code></h1>\n{}</header>\n"
        "<nav aria-label=\"sections\"><ul>{}</ul><div role=\"search\" hidden>"
        "<output for=\"filter\"></output> <label for=\"filter\">Filter</label> "
        "<input type=\"search\" id=\"filter\" autocomplete=\"off\" spellcheck=\"false\"></div>"
        "</nav>\n",
        command, totals_html(plan), links);
    out += "<main>\n" + body + "</main>\n";
    out += "<footer><p>A plan tells what <code>rc</code> would do; nothing was done. ";
    out += "Files hold bytes: <code>\\xNN</code> is one that is no printable ASCII, ";
    out += "<code>\\t</code> a tab, <code>\\s</code> a blank at the end of a line. ";
    out += fmt::format("<code>{}</code> stands for a secret.</p></footer>\n", mask);
    out += fmt::format("<script>{}</script>\n</body>\n</html>\n", page_script);
    return out;
}
