// docs/settings.schema.json: the settings for web forms.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "reference/patterns.h"
#include "reference/reference.h"
#include "reference/words.h"

using nlohmann::ordered_json;
using nvram::Form;
using nvram::KnownSetting;

namespace {

// The help as the label of a form field.
std::string title_of(const KnownSetting& setting) {
    std::string title = sentence(setting.help);
    title.pop_back();
    return title;
}

// The form with its fields, and the effect of an empty value.
std::string description_of(const KnownSetting& setting) {
    std::string text = joined(in_words(setting));
    if (setting.record != nullptr) {
        text += "; record format " + escaped(setting.record->shape);
        for (const nvram::Field& field : setting.record->fields) {
            text += fmt::format("; {}: {}", field.name, joined(in_words(field)));
            if (*field.help != '\0') text += fmt::format(" ({})", field.help);
        }
    }
    text = sentence(text);
    if (*setting.when_empty != '\0') text += fmt::format(" If empty: {}.", setting.when_empty);
    return text;
}

void add_words(ordered_json& property, const KnownSetting& setting) {
    ordered_json words = ordered_json::array();
    if (setting.may_be_empty) words.push_back("");
    if (setting.form == Form::Flag) words.insert(words.end(), {"0", "1"});
    for (const std::string_view word : split_words(setting.choices)) words.push_back(word);
    property["enum"] = words;
}

void add_limits(ordered_json& property, const KnownSetting& setting) {
    if (!setting.may_be_empty) property["minLength"] = 1;
    if (setting.high > 0) property["maxLength"] = setting.high;
}

// Python's re accepts a line feed after '$'; in ECMA-262 the look-ahead changes nothing.
void add_pattern(ordered_json& property, const KnownSetting& setting) {
    const std::string optional = setting.may_be_empty ? "?" : "";
    property["pattern"] = "^(?:" + value_pattern(setting) + ")" + optional + "$(?!\\n)";
}

ordered_json array_of(std::vector<std::string_view> words, bool may_be_empty) {
    if (may_be_empty) words.insert(words.begin(), "");
    return words;
}

// Annotations for forms, which a validator ignores: the list of records with its separator, the
// shape of one and its fields. "skip" characters come before the first record.
ordered_json records_of(const nvram::Record& record) {
    ordered_json fields = ordered_json::array();
    for (const nvram::Field& field : record.fields) {
        ordered_json shown = {{"name", field.name}, {"help", joined(in_words(field))}};
        if (field.form == Form::Flag)
            shown["enum"] = array_of({"0", "1"}, field.may_be_empty);
        else if (field.form == Form::Choice)
            shown["enum"] = array_of(split_words(field.choices), field.may_be_empty);
        if (*field.help != '\0') shown["help"] = fmt::format("{} ({})", field.help, shown["help"]);
        fields.push_back(shown);
    }
    return {{"between", record.between == '\0' ? "" : std::string(1, record.between)},
            {"shape", record.shape},
            {"skip", record.ignored_prefix},
            {"fields", fields}};
}

ordered_json property_of(const KnownSetting& setting, const char* group) {
    ordered_json property = {{"type", "string"},
                             {"title", title_of(setting)},
                             {"description", description_of(setting)},
                             {"group", group}};
    if (setting.record != nullptr) property["record"] = records_of(*setting.record);
    if (setting.form == Form::Number) property["form"] = "number";
    if (setting.form == Form::Flag || setting.form == Form::Choice)
        add_words(property, setting);
    else
        add_pattern(property, setting);
    if (setting.form == Form::Text) add_limits(property, setting);
    property["default"] = setting.factory;
    if (setting.secret) property["writeOnly"] = true;
    return property;
}

}  // namespace

std::string settings_schema(const Reference& reference) {
    ordered_json properties = ordered_json::object();
    for (const nvram::SettingGroup& group : reference.groups)
        for (const KnownSetting& setting : group.settings)
            properties[setting.key] = property_of(setting, group.title);

    const ordered_json schema = {
        {"$schema", "https://json-schema.org/draft/2020-12/schema"},
        {"title", "Settings of the router"},
        {"description", "Each setting is a string. Other keys are allowed."},
        {"type", "object"},
        {"properties", properties},
        {"additionalProperties", {{"type", "string"}}},
    };
    return schema.dump(2) + "\n";
}
