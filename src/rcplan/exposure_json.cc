// What is open, as JSON: one object a row.

#include "rcplan/exposure_json.h"

#include "rcplan/json.h"

namespace {

const char* kind_word(ExposureRow::Kind kind) {
    if (kind == ExposureRow::Kind::Open) return "open";
    return kind == ExposureRow::Kind::Unused ? "unused" : "escape";
}

}  // namespace

std::string exposure_json(const ExposureRow& row, const std::string& change) {
    Json object;
    if (!change.empty()) {
        object["type"] = "exposure";
        object["change"] = change;
    }
    object["kind"] = kind_word(row.kind);
    object["proto"] = row.proto;
    object["ports"] = row.ports;
    object["from"] = row.from;
    object["src"] = row.src;
    put_text(object, "to", row.to);
    object["to_ports"] = row.to_ports;
    object["when"] = Json::array();
    for (const std::string& condition : row.when) object["when"].push_back(condition);
    object["settings"] = Json::array();
    for (const SettingUse& use : row.settings) {
        if (use.entries.empty())
            object["settings"].push_back({{"key", use.key}, {"entry", nullptr}});
        for (const unsigned entry : use.entries)
            object["settings"].push_back({{"key", use.key}, {"entry", entry}});
    }
    Json rule;
    rule["file"] = row.rule.file.empty() ? Json(nullptr) : Json(row.rule.file);
    rule["line"] = row.rule.line;
    put_text(rule, "text", row.rule.text);
    object["rule"] = rule;
    put_text(object, "packet", row.packet);
    if (row.kind != ExposureRow::Kind::Open) put_text(object, "why", row.why);
    if (row.kind == ExposureRow::Kind::Unused) object["own"] = row.own;
    return json_line(object);
}
