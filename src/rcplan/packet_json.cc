// A packet's walk as JSON.

#include "rcplan/packet_json.h"

#include "rcplan/json.h"
#include "rcplan/packet_report.h"

namespace {

Json place_json(const PacketReport& report, const Origin& origin) {
    const Place place = place_of(report.plan, origin);
    Json object;
    object["file"] = place.file.empty() ? Json(nullptr) : Json(place.file);
    object["line"] = place.line;
    put_text(object, "text", place.text);
    object["why"] = influences(report.provenance.of(origin));
    return object;
}

Json decision_json(const PacketReport& report, const std::optional<Decision>& decision) {
    if (!decision) return nullptr;
    Json object = {{"table", decision->table}, {"chain", decision->chain}};
    object["rule"] = decision->number > 0 ? Json(decision->number) : Json(nullptr);
    if (decision->rule) object["target"] = decision->rule->target;
    object["origin"] = decision->origin ? place_json(report, *decision->origin) : Json(nullptr);
    object["jumps"] = Json::array();
    for (const Decision& jump : decision->jumps)
        object["jumps"].push_back(decision_json(report, jump));
    return object;
}

template <typename Value>
Json or_null(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json address_json(const std::optional<Ipv4>& address) {
    return address ? Json(quad_text(*address)) : Json(nullptr);
}

Json packet_object(const Packet& packet) {
    return {{"in", packet.in},
            {"out", packet.out},
            {"protocol", protocol_text(packet.protocol)},
            {"source", address_json(packet.source)},
            {"source_port", or_null(packet.source_port)},
            {"destination", address_json(packet.destination)},
            {"destination_port", or_null(packet.destination_port)},
            {"mark", packet.mark}};
}

Json step_json(const PacketReport& report, const WalkStep& step) {
    switch (step.kind) {
        case WalkStep::Kind::Chain:
            return {{"type", "chain"}, {"table", step.table}, {"chain", step.chain}};
        case WalkStep::Kind::Rule:
            return {{"type", "rule"},        {"table", step.table},
                    {"chain", step.chain},   {"rule", step.number},
                    {"effect", step.effect}, {"origin", place_json(report, step.rule->origin)}};
        case WalkStep::Kind::Policy:
            return {{"type", "policy"},
                    {"table", step.table},
                    {"chain", step.chain},
                    {"effect", step.effect}};
        case WalkStep::Kind::Note:
            break;
    }
    return {{"type", "note"}, {"effect", step.effect}};
}

Json refused_json(const Netfilter::Refused& line) {
    Json object;
    put_text(object, "line", line.line);
    put_text(object, "reason", line.reason);
    object["unread"] = line.unread;
    return object;
}

const char* verdict_word(Verdict verdict) {
    if (verdict == Verdict::Accept) return "accept";
    return verdict == Verdict::Drop ? "drop" : "unknown";
}

}  // namespace

std::string packet_json(const PacketReport& report) {
    const Walk& walk = report.walk;
    Json object;
    object["verdict"] = verdict_word(walk.verdict);
    put_text(object, "text", walk.verdict_text());
    object["decision"] = decision_json(report, walk.decision);
    object["destination_nat"] = decision_json(report, walk.destination_nat);
    object["source_nat"] = decision_json(report, walk.source_nat);
    object["marked"] = decision_json(report, walk.marked);
    object["packet"] = packet_object(report.packet);
    object["packet_after"] = packet_object(walk.packet);
    object["assumed"] = all_assumptions(report);
    object["steps"] = Json::array();
    for (const WalkStep& step : walk.steps) object["steps"].push_back(step_json(report, step));
    object["refused"] = Json::array();
    for (const Netfilter::Refused& line : report.tables.refused)
        object["refused"].push_back(refused_json(line));
    return json_line(object);
}
