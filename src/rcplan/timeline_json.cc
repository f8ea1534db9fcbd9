// Plans as JSON, one object per line (RFC 8259).

#include "rcplan/timeline_json.h"

#include "rcplan/json.h"

namespace {

Json event_object(const Plan& plan, size_t index, const Provenance* provenance) {
    const Event& event = plan.after.transcript.events()[index];
    Json object;
    object["type"] = event.verb;
    object["depth"] = event.depth;
    if (event.verb != "print") put_text(object, "text", event.text);
    if (event.has_body || event.verb == "print") put_text(object, "body", event.body);
    if (!provenance) return object;
    object["why"] = influences(provenance->of({.event = index, .line = 0}));
    Json lines = Json::array();
    for (size_t line = 1; line <= body_lines(event.body).size(); line++)
        lines.push_back(influences(provenance->of({.event = index, .line = line})));
    if (!lines.empty()) object["body_why"] = std::move(lines);
    return object;
}

}  // namespace

std::string json_lines(const Plan& plan, const Provenance* provenance) {
    std::string out;
    const std::vector<long long> elapsed = elapsed_microseconds(plan.after.transcript);
    for (size_t i = 0; i < plan.after.transcript.events().size(); i++) {
        Json object = event_object(plan, i, provenance);
        object["elapsed_us"] = elapsed[i];
        out += json_line(object);
    }
    const Totals totals = plan.after.transcript.totals();
    Json total;
    total["type"] = "total";
    total["status"] = plan.status;
    total["commands"] = totals.commands;
    total["files_written"] = totals.files;
    total["settings_stored"] = totals.settings;
    total["pauses_us"] = totals.microseconds;
    total["assumed"] = influences(provenance ? provenance->assumed() : facts_read(plan));
    return out + json_line(total);
}
