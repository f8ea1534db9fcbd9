// A packet's walk as text: the chains with the rules that matched, the rule that decided, and the
// settings behind it.

#include "rcplan/packet_report.h"

#include <fmt/format.h>

#include "core/text.h"

namespace {

std::string place_text(const Place& place) {
    return place.file.empty() ? "run" : fmt::format("{} line {}", place.file, place.line);
}

std::string packet_line(const Packet& packet) {
    std::string line = fmt::format("packet  {} {} to {}", protocol_text(packet.protocol),
                                   endpoint_text(packet.source, packet.source_port),
                                   endpoint_text(packet.destination, packet.destination_port));
    if (packet.in.empty())
        line += ", from the router itself";
    else
        line += ", in on " + packet.in;
    line += fmt::format(", {}", state_name(packet.state));
    if (packet.tcp_flags) line += ", " + tcp_flags_text(*packet.tcp_flags);
    if (packet.icmp_type) line += ", " + icmp_type_text(*packet.icmp_type);
    if (packet.mark != 0) line += fmt::format(", mark {}", packet.mark);
    if (packet.payload) line += ", \"" + escape_line(*packet.payload) + "\"";
    return line + "\n";
}

std::string rule_lines(const Plan& plan, const WalkStep& step) {
    const std::string indent(static_cast<size_t>(step.depth) * 4, ' ');
    std::string text =
        fmt::format("{}{:>2}  {}\n", indent, step.number, escape_line(step.rule->text()));
    if (!step.effect.empty())
        text += fmt::format("{}    = {} [{}]\n", indent, escape_line(step.effect),
                            place_text(place_of(plan, step.rule->origin)));
    return text;
}

// A chain in which no rule matches is noted on the line of the jump.
std::string steps_text(const PacketReport& report) {
    const std::vector<WalkStep>& steps = report.walk.steps;
    std::string text;
    for (size_t i = 0; i < steps.size(); i++) {
        const WalkStep& step = steps[i];
        const std::string indent(static_cast<size_t>(step.depth) * 4, ' ');
        const bool is_last = i + 1 == steps.size() || steps[i + 1].depth <= step.depth;
        if (step.kind == WalkStep::Kind::Rule) {
            text += rule_lines(report.plan, step);
        } else if (step.kind == WalkStep::Kind::Policy) {
            text += fmt::format("{}policy {}\n", indent, step.effect);
        } else if (step.kind == WalkStep::Kind::Note) {
            text += step.effect + "\n";
        } else if (step.depth == 0) {
            text += fmt::format("{} {}\n", step.table, step.chain);
        } else if (is_last && text.ends_with('\n')) {
            text.insert(text.size() - 1, ": no rule matches");
        } else {
            text += fmt::format("{}{}\n", indent, step.chain);
        }
    }
    return text;
}

std::string reasons(const PacketReport& report, const Origin& origin) {
    std::string text;
    for (const Influence& influence : report.provenance.of(origin))
        text += (text.empty() ? "" : "; ") + influence.text();
    return text;
}

// The script's line of a rule, and the settings behind that line.
std::string line_with_reasons(const PacketReport& report, const char* title,
                              const Decision& decision) {
    const Place place = place_of(report.plan, *decision.origin);
    std::string text = fmt::format("{:<8}{}, {}\n        {}\n", title, decision.text(),
                                   place_text(place), escape_line(place.text));
    const std::string why = reasons(report, *decision.origin);
    if (!why.empty()) text += fmt::format("        <- {}\n", why);
    return text;
}

// The rule that decides, and the jumps that lead to it.
std::string decision_lines(const PacketReport& report, const char* title,
                           const std::optional<Decision>& decision) {
    if (!decision || !decision->origin) return "";
    std::string text = line_with_reasons(report, title, *decision);
    for (const Decision& jump : decision->jumps)
        if (jump.origin) text += line_with_reasons(report, "  via", jump);
    return text;
}

// Refused lines are shown, except deletions of chains that do not exist yet.
bool is_notable(const Netfilter::Refused& line) {
    return line.unread || !contains(line.line, " -X ");
}

}  // namespace

std::vector<std::string> all_assumptions(const PacketReport& report) {
    std::vector<std::string> all = report.assumptions;
    all.insert(all.end(), report.walk.assumptions.begin(), report.walk.assumptions.end());
    return all;
}

std::string packet_text(const PacketReport& report) {
    const Walk& walk = report.walk;
    std::string text = packet_line(report.packet);
    for (const std::string& what : all_assumptions(report)) text += "assumed " + what + "\n";
    for (const Netfilter::Refused& line : report.tables.refused)
        if (is_notable(line))
            text += fmt::format("{} {}: {}\n", line.unread ? "unread " : "refused",
                                escape_line(line.line), line.reason);
    text += "\n";
    text += steps_text(report) + "\n";
    text += decision_lines(report, "to", walk.destination_nat);
    if (walk.verdict != Verdict::Unknown) text += decision_lines(report, "verdict", walk.decision);
    text += decision_lines(report, "from", walk.source_nat);
    text += decision_lines(report, "mark", walk.marked);
    return text + escape_line(walk.verdict_text()) + "\n";
}
