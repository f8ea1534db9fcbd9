// The page of rcplan inspect: the deviations, the notes, and what is open.

#include "plan/report/inspect_page.h"

#include <fmt/format.h>

#include <algorithm>

#include "plan/report/html.h"
#include "plan/report/report_page.h"
#include "plan/router/lines.h"

namespace {

std::string lines_html(const std::string& text) {
    std::string out;
    for (const std::string_view line : body_lines(text.empty() ? "nothing" : text))
        out += (out.empty() ? "" : "<br>") + shown_line(line);
    return "<code>" + out + "</code>";
}

std::string deviation_html(const Deviation& deviation) {
    std::string settings;
    for (const std::string& key : deviation.settings)
        settings += (settings.empty() ? "" : ", ") + ("<code>" + shown_line(key) + "</code>");
    std::string out =
        fmt::format(R"(<li class="line"><span class="verb">{}</span> {}<dl class="source">)",
                    kind_name(deviation.kind), shown_line(deviation.what));
    const auto add = [&](const char* name, const std::string& value) {
        out += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", name, value);
    };
    add("expected", lines_html(deviation.expected));
    add("found", lines_html(deviation.found));
    if (!settings.empty()) add("settings", settings);
    add("to do", shown_line(deviation.fix));
    return out + "</dl></li>\n";
}

std::string open_html(const ExposureRow& row) {
    std::string settings;
    for (const SettingUse& use : row.settings)
        settings +=
            (settings.empty() ? "" : ", ") + ("<code>" + shown_line(use.text()) + "</code>");
    return fmt::format(R"(<li class="line">{} <span class="help">{}</span></li>)"
                       "\n",
                       shown_line(open_text(row)), settings);
}

std::string section(const char* title, const std::string& items, const char* nothing) {
    const std::string body =
        items.empty() ? fmt::format("<p>{}</p>", nothing) : "<ul>" + items + "</ul>";
    return fmt::format(R"(<section class="group"><h2>{}</h2>{}</section>)"
                       "\n",
                       title, body);
}

}  // namespace

std::string inspection_html(const std::vector<Deviation>& deviations,
                            const std::vector<ExposureRow>& open, const InspectedSource& source) {
    std::string serious;
    std::string notes;
    for (const Deviation& deviation : deviations)
        (deviation.note ? notes : serious) += deviation_html(deviation);
    std::string rows;
    for (const ExposureRow& row : open) rows += open_html(row);
    return fmt::format(
               "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
               "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
               "base-uri 'none'; form-action 'none'; style-src {}\">\n"
               "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
               "<title>Router: {}</title>\n<style>{}</style>\n</head>\n<body>\n",
               policy_source(page_style_sha256), shown_line(source.bundle), page_style) +
           fmt::format(
               "<header><p class=\"kind\">Router of</p><h1><code>{}</code></h1>\n"
               "<dl class=\"source\"><div><dt>seen on</dt><dd>{}</dd></div><div><dt>made on</dt>"
               "<dd>{}</dd></div><div><dt>version</dt><dd>{}</dd></div></dl></header>\n<main>\n",
               shown_line(source.bundle), shown_line(source.looked), shown_line(source.date),
               shown_line(source.version)) +
           section("Deviations", serious, "Nothing deviates.") +
           section("Notes", notes, "Nothing else.") +
           section("Open from the Internet", rows, "Nothing.") + "</main>\n</body>\n</html>\n";
}
