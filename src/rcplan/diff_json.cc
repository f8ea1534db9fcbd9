// Differences as JSON.

#include "rcplan/diff_json.h"
#include "libnvram/secret.h"
#include "plan/trace/redaction.h"
#include "rcplan/json.h"

namespace {

void put_value(Json& object, const char* name, const std::optional<std::string>& value,
               bool masked) {
    if (value)
        put_text(object, name, masked && !value->empty() ? std::string(mask) : *value);
    else
        object[name] = nullptr;
}

Json event_objects(const Transcript& transcript, const std::vector<Origin>& places) {
    const std::vector<long long> elapsed = elapsed_microseconds(transcript);
    Json list = Json::array();
    for (const Origin& place : places) {
        if (place.line != 0) continue;
        const Event& event = transcript.events()[place.event];
        Json object;
        object["verb"] = event.verb;
        object["depth"] = event.depth;
        if (event.verb != "print") put_text(object, "text", event.text);
        if (event.has_body || event.verb == "print") put_text(object, "body", event.body);
        object["elapsed_us"] = elapsed[place.event];
        list.push_back(std::move(object));
    }
    return list;
}

Json body_texts(const Transcript& transcript, const std::vector<Origin>& places) {
    Json list = Json::array();
    for (const Origin& place : places) {
        const std::string line = event_lines(transcript.events()[place.event])[place.line];
        list.push_back(line.substr(line.find_first_not_of(' ')));
    }
    return list;
}

Json change_object(const Difference& difference, const EffectChange& change) {
    Json object;
    object["type"] = change.within ? "lines" : "events";
    if (change.within) {
        const Event& event = difference.a.events()[change.within->a];
        object["verb"] = event.verb;
        object["depth"] = event.depth;
        put_text(object, "text", event.text);
    }
    const auto side = change.within ? body_texts : event_objects;
    object["a"] = side(difference.a, change.a);
    object["b"] = side(difference.b, change.b);
    object["because"] = change.because;
    return object;
}

Json totals_object(const Transcript& transcript) {
    const Totals totals = transcript.totals();
    Json object;
    object["status"] = std::stoi(transcript.events().back().text);
    object["commands"] = totals.commands;
    object["files_written"] = totals.files;
    object["settings_stored"] = totals.settings;
    object["pauses_us"] = totals.microseconds;
    return object;
}

void put_effects(Json& object, const ChangedEffects& effects) {
    object["because"] = effects.because;
    object["files"] = effects.files;
    object["settings_stored"] = effects.stored;
    object["commands"] = effects.commands;
}

Json before_object(const StopBefore& stop) {
    Json object;
    object["type"] = "before";
    object["words"] = stop.words;
    object["because"] = stop.because;
    object["only_with_a"] = Json::array();
    for (const std::string& line : stop.only_with_a)
        object["only_with_a"].push_back(escape_line(line));
    return object;
}

Json action_object(const Restart& restart) {
    Json object;
    object["type"] = "action";
    object["words"] = restart.words;
    object["covers"] = restart.covers;
    put_effects(object, restart.effects);
    object["runs_commands"] = restart.totals.commands;
    object["pauses_us"] = restart.totals.microseconds;
    return object;
}

// A set of actions with their totals.
Json sum_object(const char* type, const std::vector<Restart>& restarts) {
    Totals sum;
    Json object;
    object["type"] = type;
    object["actions"] = Json::array();
    for (const Restart& restart : restarts) {
        object["actions"].push_back(restart.words);
        sum.commands += restart.totals.commands;
        sum.microseconds += restart.totals.microseconds;
    }
    object["runs_commands"] = sum.commands;
    object["pauses_us"] = sum.microseconds;
    return object;
}

}  // namespace

std::string settings_json(const std::vector<SettingChange>& changes, bool show_secrets) {
    std::string out;
    for (const SettingChange& change : changes) {
        const bool secret = nvram::is_secret(change.key);
        Json object;
        object["type"] = "setting";
        object["key"] = change.key;
        put_value(object, "a", change.a, secret && !show_secrets);
        put_value(object, "b", change.b, secret && !show_secrets);
        object["secret"] = secret;
        out += json_line(object);
    }
    return out;
}

std::string difference_json(const Difference& difference) {
    std::string out;
    for (const EffectChange& change : difference.changes)
        out += json_line(change_object(difference, change));
    Json total;
    total["type"] = "total";
    total["differs"] = !difference.changes.empty();
    total["a"] = totals_object(difference.a);
    total["b"] = totals_object(difference.b);
    return out + json_line(total);
}

std::string advice_json(const Advice& advice) {
    std::string out;
    for (const StopBefore& stop : advice.before) out += json_line(before_object(stop));
    for (const Restart& restart : advice.fewest) out += json_line(action_object(restart));
    if (!advice.gentlest.empty()) out += json_line(sum_object("gentler", advice.gentlest));
    if (!advice.at_boot.because.empty()) {
        Json boot;
        boot["type"] = "boot";
        boot["words"] = Json::array({"init"});
        put_effects(boot, advice.at_boot);
        boot["only"] = only_at_boot(advice);
        out += json_line(boot);
    }
    for (const std::string& key : advice.unused) {
        Json unused;
        unused["type"] = "unused";
        unused["key"] = key;
        out += json_line(unused);
    }
    Json total = sum_object("total", advice.fewest);
    total["differs"] = differs(advice);
    return out + json_line(total);
}
