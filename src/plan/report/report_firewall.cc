// The report's firewall: a map of each table, and the rules of each chain with the settings behind
// them and the script line that adds them.

#include "plan/report/report_firewall.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "plan/report/html.h"
#include "plan/report/report_map.h"

namespace {

struct Table {
    const char* name;
    const char* task;
};
constexpr std::array<Table, 3> shown_tables = {{
    {"nat", "translates addresses, once for each connection"},
    {"filter", "accepts or drops packets"},
    {"mangle", "marks and alters packets"},
}};

// True if the run added rules to the table or changed a policy.
bool is_used(const Netfilter& tables, std::string_view table) {
    return std::ranges::any_of(tables.chains, [&](const Chain& chain) {
        return chain.table == table && (!chain.rules.empty() || chain.policy != "ACCEPT");
    });
}

// The colour of a rule depends on its verdict.
const char* fate(const Rule& rule) {
    if (rule.target == "ACCEPT") return " accept";
    if (rule.target == "DROP" || rule.target == "REJECT") return " drop";
    return "";
}

// A rule's text; the chain that it jumps to is a link.
std::string specification_html(const Report& report, const Chain& chain, const Rule& rule) {
    std::string text = text_html(report, rule.origin, rule.text());
    const std::string end = " " + html_escaped(rule.target);
    if (!report.tables.find(chain.table, rule.target) || !text.ends_with(end)) return text;
    return fmt::format(R"({} <a href="#{}">{}</a>)", text.substr(0, text.size() - end.size()),
                       chain_id(chain.table, rule.target), end.substr(1));
}

std::string rule_html(const Report& report, const Chain& chain, size_t number) {
    const Rule& rule = chain.rules[number - 1];
    return fmt::format(R"(<li class="line rule{}"><span class="number">{}</span>)"
                       R"( <code>{}</code> {}{}</li>)"
                       "\n",
                       fate(rule), number, specification_html(report, chain, rule),
                       place_html(report, rule.origin),
                       reasons_html(report, own_reasons(report, rule.origin)));
}

// "reached from FORWARD 3, 4": the rules that jump here.
std::string callers_html(const Report& report, const Chain& chain) {
    if (chain.policy) return "packets enter here";
    std::string list;
    for (const Chain& caller : report.tables.chains) {
        if (caller.table != chain.table) continue;
        std::string numbers;
        for (size_t i = 0; i < caller.rules.size(); i++)
            if (caller.rules[i].target == chain.name)
                numbers += (numbers.empty() ? " rule " : ", ") + std::to_string(i + 1);
        if (numbers.empty()) continue;
        list +=
            fmt::format(R"({}<a href="#{}">{}</a>{})", list.empty() ? "reached from " : "; ",
                        chain_id(caller.table, caller.name), html_escaped(caller.name), numbers);
    }
    return list.empty() ? "unreferenced: no rule jumps here" : list;
}

void put_chain(std::string& out, const Report& report, const Chain& chain) {
    out += fmt::format(R"(<div class="chain group" id="{}"><h4 class="head"><code>{}</code>{}</h4>)"
                       R"(<p class="note">{}</p>)",
                       chain_id(chain.table, chain.name), html_escaped(chain.name),
                       chain.policy ? fmt::format(R"( <span class="policy {0}">policy {0}</span>)",
                                                  html_escaped(*chain.policy))
                                    : "",
                       callers_html(report, chain));
    if (chain.rules.empty())
        out += R"(<p class="note">no rules</p>)";
    else
        out += R"(<ol class="rules">)";
    for (size_t number = 1; number <= chain.rules.size(); number++)
        out += rule_html(report, chain, number);
    out += chain.rules.empty() ? "</div>\n" : "</ol></div>\n";
}

void put_table(std::string& out, const Report& report, const Table& table) {
    const ChainNames entered = report.open ? report.open->chains_entered : ChainNames();
    const std::string map = chain_map(report.tables, table.name, entered);
    out += fmt::format(
        R"(<div class="table group"><h3><code>{}</code> <span class="note">{}</span></h3>)"
        R"(<div class="sides"><div class="map" role="region" aria-label="map of the table {}")"
        R"( tabindex="0">{}</div><div class="chains">)",
        table.name, table.task, table.name,
        map.empty() ? R"(<p class="note">Graphviz could not draw this map.</p>)" : map);
    for (const Chain& chain : report.tables.chains)
        if (chain.table == table.name) put_chain(out, report, chain);
    out += "</div></div></div>\n";
}

void put_refused(std::string& out, const Report& report, bool unread) {
    std::string items;
    size_t count = 0;
    for (const Netfilter::Refused& refused : report.tables.refused) {
        if (refused.unread != unread) continue;
        count++;
        items += fmt::format(
            R"(<li class="line"><code>{}</code> <span class="note">{}</span> {}</li>)"
            "\n",
            text_html(report, refused.origin, refused.line),
            text_html(report, refused.origin, refused.reason), place_html(report, refused.origin));
    }
    if (count == 0) return;
    out += fmt::format(
        R"(<details class="refused group"><summary class="head"><span class="note">{} {}</span>)"
        R"(</summary><ul>{}</ul></details>)"
        "\n",
        counted(count, "line"),
        unread ? "with iptables commands that are not understood here"
               : "that iptables rejects, starting from empty tables",
        items);
}

bool has_firewall(const Report& report) {
    return !report.tables.refused.empty() ||
           std::ranges::any_of(shown_tables, [&](const Table& table) {
               return is_used(report.tables, table.name);
           });
}

}  // namespace

void put_firewall(std::string& out, const Report& report) {
    if (!has_firewall(report)) return;
    out += R"(<section id="firewall" class="group"><h2>Firewall</h2>)"
           R"(<p class="note">The rules in place after the run. Each chain in a map links to its)"
           R"( rules; the number at an arrow is the rule that jumps.)";
    if (report.open && report.open->unknown.empty())
        out += R"( New connections from the WAN come to the chains marked so.)";
    out += "</p>";
    for (const Table& table : shown_tables)
        if (is_used(report.tables, table.name)) put_table(out, report, table);
    put_refused(out, report, false);
    put_refused(out, report, true);
    out += "</section>\n";
}
