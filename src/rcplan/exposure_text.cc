// What is open, as text: a line of what, then why and how to see it.

#include "rcplan/exposure_text.h"

#include <fmt/format.h>

#include "plan/router/transcript.h"

namespace {

std::string because(const ExposureRow& row) {
    std::string text;
    for (const SettingUse& use : row.settings) text += (text.empty() ? "" : ", ") + use.text();
    return text;
}

std::string rule_text(const ExposureRow& row) {
    if (row.rule.text.empty()) return "a policy that no line sets";
    if (row.rule.file.empty()) return row.rule.text;
    return fmt::format("{}:{}  {}", row.rule.file, row.rule.line, row.rule.text);
}

const char* title_of(const ExposureRow& row) {
    if (row.kind == ExposureRow::Kind::Escape) return "Gets past a block of the settings";
    return row.own ? "Never used, of rc's own rules" : "Never used, of the settings";
}

}  // namespace

std::string row_text(const ExposureRow& row, const std::string& call) {
    const bool is_open = row.kind == ExposureRow::Kind::Open;
    std::string text = escape_line(is_open ? open_text(row) : row.why) + "\n";
    const std::string settings = because(row);
    if (!settings.empty()) text += fmt::format("    <- {}\n", escape_line(settings));
    text += fmt::format("    {}\n", escape_line(rule_text(row)));
    if (!row.packet.empty()) text += fmt::format("    {} {}\n", call, escape_line(row.packet));
    return text;
}

std::string exposure_text(const std::vector<ExposureRow>& rows, const std::string& from,
                          const std::string& call) {
    std::string text = fmt::format("What can start a connection from {}\n", from);
    bool any = false;
    std::string title;
    for (const ExposureRow& row : rows) {
        if (row.kind == ExposureRow::Kind::Open) {
            any = true;
        } else if (title != title_of(row)) {
            if (!any && title.empty()) text += "Nothing.\n";
            title = title_of(row);
            text += fmt::format("\n{}\n", title);
        }
        text += row_text(row, call);
    }
    if (!any && title.empty()) text += "Nothing.\n";
    return text;
}
