// nvram describe and keys: one setting explained, and the list of settings.
#include <cstdio>
#include <cstring>

#include "libnvram/printable.h"
#include "nvram/json.h"
#include "nvram/verbs.h"
#include "settings/forms.h"
#include "settings/sinks.h"
#include "settings/uses.h"

namespace nvram {

// A word in the first column, its text in the second; continuation lines have an empty word.
static void print_row(const char* word, std::string_view text) {
    std::printf("  %-9s%.*s\n", word, static_cast<int>(text.size()), text.data());
}

static std::string escaped(std::string_view text) {
    std::string shown;
    append_escaped(shown, text);
    return shown;
}

static std::string text_limit(Form form, std::int32_t high) {
    if (form != Form::Text || high == 0) return "";
    return " of at most " + std::to_string(high) + " characters";
}

static void print_fields(const Record& record) {
    for (const Field& field : record.fields) {
        std::string line = std::string("  ") + field.name + ": ";
        if (field.may_be_empty) line += "empty or ";
        line += form_text(limits_of(field)) + text_limit(field.form, field.high);
        if (*field.help != '\0') line += std::string("; ") + field.help;
        print_row("", line);
    }
}

static void print_record(const Record& record) {
    const std::string between = escaped({&record.between, 1});
    print_row("form", record.between == '\0'
                          ? "one entry " + escaped(record.shape)
                          : "entries " + escaped(record.shape) + ", separated by " +
                                (record.between == ' ' ? "spaces" : between));
    print_fields(record);
    if (record.ignored_prefix != 0)
        print_row("", "ignored prefix: " + std::to_string(record.ignored_prefix) +
                          " characters before the first entry");
    if (record.most == 0) return;
    std::string most =
        "at most " + std::to_string(record.most) + (record.most == 1 ? " entry" : " entries");
    if (*record.counted != '\0') most += std::string(" whose field ") + record.counted + " is 1";
    print_row("", most);
}

static void print_form(const KnownSetting& known) {
    if (known.record != nullptr) {
        print_record(*known.record);
    } else {
        print_row("form", form_text(limits_of(known)) + text_limit(known.form, known.high));
    }
    if (known.form == Form::Flag) print_row("", "only the first character counts");
}

static void print_emptiness(const KnownSetting& known) {
    std::string empty = known.may_be_empty ? "allowed" : "not allowed";
    if (*known.when_empty != '\0') empty += std::string("; ") + known.when_empty;
    print_row("empty", empty);
    print_row("not set", *known.when_absent == '\0' ? "same as empty" : known.when_absent);
}

static void print_sinks(const KnownSetting& known) {
    const char* word = "goes to";
    for (const Sink& sink : setting_sinks()) {
        if (std::strcmp(sink.key, known.key) != 0) continue;
        const bool of_field = sink.field != nullptr && *sink.field != '\0';
        std::string line;
        fill_sink_line(line, sink.line, [&](char kind, std::string_view other) {
            if (kind == sink_unknown) {
                line += "...";
                return;
            }
            line += '<';
            line += kind == sink_text ? of_field ? sink.field : known.key
                                      : other.substr(other.starts_with(':') ? 1 : 0);
            line += '>';
        });
        line = escaped(line);
        const bool command = std::strcmp(sink.place, "command") == 0;
        print_row(word, command ? line : std::string(sink.place) + ": " + line);
        word = "";
    }
}

// Suggests the keys at an edit distance of at most 2.
static int unknown_setting(const Call& call, const char* key) {
    constexpr std::size_t near = 2;
    std::fprintf(stderr, "nvram: %s: %s: unknown setting", call.verb, printable(key).c_str());
    const char* joint = " (did you mean ";
    for (const SettingGroup& group : setting_groups()) {
        for (const KnownSetting& known : group.settings) {
            if (edit_distance(known.key, key, near) > near) continue;
            std::fprintf(stderr, "%s%s", joint, known.key);
            joint = " or ";
        }
    }
    std::fputs(*joint == ' ' && joint[1] == '(' ? "; 'nvram keys' lists all\n" : "?)\n", stderr);
    return status_no;
}

static void append_member(std::string& line, std::string_view name, std::string_view text) {
    append_json_name(line, name);
    append_json(line, text);
}

static void append_flag(std::string& line, std::string_view name, bool on) {
    append_json_name(line, name);
    line += on ? "true" : "false";
}

static void append_json_fields(std::string& line, const Record& record) {
    append_member(line, "shape", record.shape);
    append_member(line, "between", {&record.between, record.between == '\0' ? 0U : 1U});
    append_json_name(line, "fields");
    line += '[';
    for (const Field& field : record.fields) {
        line += line.back() == '[' ? "{" : ",{";
        append_member(line, "name", field.name);
        append_member(line, "form",
                      form_text(limits_of(field)) + text_limit(field.form, field.high));
        append_flag(line, "may_be_empty", field.may_be_empty);
        append_member(line, "help", field.help);
        line += '}';
    }
    line += ']';
}

static std::string json_of(const KnownSetting& known) {
    std::string line = "{";
    append_member(line, "key", known.key);
    append_member(line, "help", known.help);
    if (known.record != nullptr)
        append_json_fields(line, *known.record);
    else
        append_member(line, "form",
                      form_text(limits_of(known)) + text_limit(known.form, known.high));
    append_flag(line, "may_be_empty", known.may_be_empty);
    append_member(line, "when_empty", known.when_empty);
    append_member(line, "when_absent", known.when_absent);
    append_member(line, "factory", known.factory);
    append_flag(line, "secret", known.secret);
    append_json_name(line, "used_by");
    append_json_words(line, actions_of(setting_uses(), known.key));
    return line + "}";
}

int describe_verb(Store&, const Call& call) {
    const KnownSetting* const known = find_known(call.words[0]);
    if (known == nullptr) return unknown_setting(call, call.words[0]);
    if (call.json) {
        std::puts(json_of(*known).c_str());
        return status_done;
    }
    std::printf("%s: %s\n", known->key, known->help);
    print_form(*known);
    print_emptiness(*known);
    print_row("factory", *known->factory == '\0' ? "(empty)" : escaped(known->factory));
    if (known->secret) print_row("secret", "shown as ********");
    const std::string_view actions = actions_of(setting_uses(), known->key);
    if (!actions.empty()) print_row("used by", "rc " + std::string(actions));
    print_sinks(*known);
    return status_done;
}

static void print_key(const KnownSetting& known, std::size_t width, bool json) {
    if (!json) {
        std::printf("%-*s  %s\n", static_cast<int>(width), known.key, known.help);
        return;
    }
    std::string line = "{";
    append_member(line, "key", known.key);
    append_member(line, "help", known.help);
    std::puts((line + "}").c_str());
}

int keys_verb(Store&, const Call& call) {
    const std::string_view prefix = call.words.empty() ? "" : call.words[0];
    std::size_t width = 0;
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& known : group.settings)
            if (std::string_view(known.key).starts_with(prefix))
                width = std::max(width, std::strlen(known.key));
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& known : group.settings)
            if (std::string_view(known.key).starts_with(prefix)) print_key(known, width, call.json);
    return width > 0 ? status_done : status_no;
}

}  // namespace nvram
