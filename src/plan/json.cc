// Plans as programs read them: JSON, one object a line (RFC 8259).

#include "plan/json.h"

#include <fmt/format.h>

#include "plan/timeline.h"

namespace {

bool is_utf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

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

std::string json_line(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void put_text(Json& object, const char* name, const std::string& text) {
    object[name] = text;
    if (is_utf8(text)) return;
    std::string digits;
    for (const char c : text) digits += fmt::format("{:02x}", static_cast<unsigned char>(c));
    object[std::string(name) + "_hex"] = digits;
}

Json influences(const std::vector<Influence>& list) {
    Json array = Json::array();
    for (const Influence& influence : list) {
        Json object;
        object["kind"] = kind_name(influence.question.kind);
        if (!influence.question.name.empty()) put_text(object, "name", influence.question.name);
        if (influence.answer)
            put_text(object, "answer", *influence.answer);
        else
            object["answer"] = nullptr;
        object["decides"] = influence.decides;
        array.push_back(std::move(object));
    }
    return array;
}

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
    total["assumed"] = influences(provenance ? provenance->assumed() : asked_facts(plan));
    return out + json_line(total);
}
