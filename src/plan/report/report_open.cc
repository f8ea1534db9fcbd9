// What can start a connection from the WAN: a line for each, linked to rule and settings.

#include "plan/report/report_open.h"

#include <fmt/format.h>

#include <algorithm>

#include "plan/report/html.h"
#include "plan/report/report_subjects.h"

namespace {

// A setting behind a row; a link if the page lists it.
std::string use_html(const Report& report, const SettingUse& use) {
    const Input input = {.kind = Input::Kind::Setting, .name = use.key};
    std::string text = "<code>" + html_escaped(use.text()) + "</code>";
    if (!report.subjects.contains(input)) return text;
    const std::string id =
        use.entries.size() == 1 ? entry_id(input, use.entries[0]) : subject_id(input);
    return fmt::format(R"(<a href="#{}">{}</a>)", id, text);
}

std::string row_html(const Report& report, const ExposureRow& row) {
    std::string settings;
    for (const SettingUse& use : row.settings)
        settings += (settings.empty() ? "" : ", ") + use_html(report, use);
    return fmt::format(R"(<li class="line"><span>{}</span> <span class="help">{}</span> {}</li>)"
                       "\n",
                       html_escaped(open_text(row)), settings,
                       row.origin ? place_html(report, *row.origin) : "");
}

}  // namespace

std::optional<OpenFromWan> open_from_wan(const Plan& plan, const Netfilter& tables,
                                         const Provenance& provenance) {
    const bool filters = std::ranges::any_of(tables.chains, [](const Chain& chain) {
        return chain.table == "filter" && !chain.rules.empty();
    });
    if (!filters) return std::nullopt;
    const Firewall firewall(plan);
    OpenFromWan open;
    open.in = firewall.networks.wan_if;
    open.unknown = not_followed(firewall.tables);
    if (open.unknown.empty() && !firewall.networks.addresses.contains(open.in))
        open.unknown = "the WAN has no address in this run; state one in a world file";
    if (!open.unknown.empty()) return open;
    const Netfilter* const all[] = {&firewall.tables};
    const PacketSpace space(all);
    open.rows = open_rows(firewall, space, RuleSettings(firewall, provenance), open.in);
    // The sets end with their space.
    for (ExposureRow& row : open.rows) row.packets = PacketSet();
    open.chains_entered = chains_entered(firewall, space, open.in);
    return open;
}

void put_open(std::string& out, const Report& report) {
    if (!report.open) return;
    out += R"(<section id="open" class="group"><h2>Open</h2>)";
    if (!report.open->unknown.empty()) {
        out +=
            fmt::format(R"(<ul><li class="line">What is open is not known: {}.</li></ul></section>)"
                        "\n",
                        html_escaped(report.open->unknown));
        return;
    }
    out += fmt::format(
        R"(<p class="note">What can start a connection from the WAN, <code>{}</code>.</p><ul>)",
        html_escaped(report.open->in));
    for (const ExposureRow& row : report.open->rows) out += row_html(report, row);
    if (report.open->rows.empty()) out += R"(<li class="line">Nothing.</li>)";
    out += "</ul></section>\n";
}
