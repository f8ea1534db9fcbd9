// completion/rc.bash: what the shell offers after rc, nvram and rcplan.
#include <fmt/format.h>

#include <map>
#include <stdexcept>

#include "rc/actions.h"
#include "rc/apps.h"
#include "reference/completion_functions.h"
#include "reference/reference.h"
#include "reference/words.h"

using nvram::Form;
using nvram::KnownSetting;

namespace {

// For lists that read splits, not the shell.
std::string quoted(std::string_view text) {
    if (text.find('\'') != std::string_view::npos)
        throw std::invalid_argument(fmt::format("{}: has a quote", text));
    return fmt::format("'{}'", text);
}

// Like quoted, with line breaks.
std::string quoted_lines(const std::vector<std::string>& words) {
    constexpr size_t width = 100;
    std::string text;
    size_t column = width;
    for (const std::string& word : words) {
        const bool fits = column + 1 + word.size() <= width;
        text += fits ? " " : "\n    ";
        column = (fits ? column + 1 : 4) + word.size();
        text += word;
    }
    return quoted(text + "\n");
}

using Table = std::map<std::string, std::string>;

std::string shell_table(std::string_view name, const Table& table) {
    std::string text = fmt::format("declare -gA {}=(\n", name);
    for (const auto& [key, words] : table)
        text += fmt::format("    [{}]={}\n", quoted(key), quoted(words));
    return text + ")\n";
}

// A restart is a stop and a start; one of the two is enough.
std::string actions_of(const rc_app& app) {
    std::vector<std::string> actions;
    if (app.start != nullptr) actions.emplace_back(app_action::start);
    if (app.stop != nullptr) actions.emplace_back(app_action::stop);
    if (app.start != nullptr || app.stop != nullptr) actions.emplace_back(app_action::restart);
    if (app.create != nullptr) actions.emplace_back(app_action::create);
    return fmt::format("{}", fmt::join(actions, " "));
}

struct Actions {
    std::vector<std::string> names;  // in the order of the tables
    Table table;
};

void add_applications(Actions& actions, const rc_app* list) {
    for (const rc_app* app = list; app->name != nullptr; app++) {
        actions.names.emplace_back(app->name);
        actions.table[app->name] = actions_of(*app);
    }
}

// The first words after rc: the applications, the two groups, boot, and the actions on all
// applications.
Actions rc_actions() {
    Actions actions;
    add_applications(actions, rc_apps);
    add_applications(actions, rc_services);
    actions.names.insert(actions.names.end(), {"service", "wan", "init"});
    actions.names.insert(actions.names.end(), std::begin(app_action::all),
                         std::end(app_action::all));
    actions.table["service"] = fmt::format("{}", fmt::join(app_action::all, " "));
    actions.table["wan"] = fmt::format("{}", fmt::join(app_action::of_wan, " "));
    return actions;
}

std::vector<std::string> all_keys(const Reference& reference) {
    std::vector<std::string> keys;
    for (const nvram::SettingGroup& group : reference.groups)
        for (const KnownSetting& setting : group.settings) keys.emplace_back(setting.key);
    return keys;
}

Table values_of_keys(const Reference& reference) {
    Table values;
    for (const nvram::SettingGroup& group : reference.groups)
        for (const KnownSetting& setting : group.settings) {
            if (setting.form == Form::Flag) values[setting.key] = "0 1";
            if (setting.form == Form::Choice) values[setting.key] = setting.choices;
        }
    return values;
}

// The tables of programs: verbs by program; options by program, and by program and verb; kinds of
// words by the words before them: program and option, program and verb, or all three.
struct ProgramTables {
    Table verbs;
    Table options;
    Table kinds;
};

void add_options(ProgramTables& tables, const std::string& where,
                 const std::vector<Option>& options) {
    for (const Option& option : options) {
        std::string& names = tables.options[where];
        names += (names.empty() ? "" : " ") + option.name;
        if (option.takes_word) tables.kinds[where + " " + option.name] = option.word;
    }
}

// Separated by spaces, so that an unknown kind needs a name.
std::string kinds_in_order(const std::vector<WordKind>& words) {
    std::string kinds;
    for (const WordKind& word : words) {
        if (!kinds.empty()) kinds += ' ';
        kinds += word.empty() ? "other" : word;
    }
    return kinds;
}

ProgramTables program_tables(std::span<const Program> programs) {
    ProgramTables tables;
    for (const Program& program : programs) {
        add_options(tables, program.name, program.options);
        std::string& verbs = tables.verbs[program.name];
        for (const Verb& verb : program.verbs) {
            verbs += (verbs.empty() ? "" : " ") + verb.name;
            const std::string where = program.name + " " + verb.name;
            add_options(tables, where, verb.options);
            if (!verb.words.empty()) tables.kinds[where] = kinds_in_order(verb.words);
        }
    }
    return tables;
}

constexpr const char* head =
    "# Completion of rc, nvram and rcplan for bash. Generated: tools/renew.sh writes this file.\n"
    "# shellcheck shell=bash\n"
    "\n";

}  // namespace

std::string bash_completion(const Reference& reference, std::span<const Program> programs) {
    const Actions actions = rc_actions();
    const ProgramTables tables = program_tables(programs);
    std::string text = head;
    text += "# The words after rc, and the actions of each.\n";
    text += "_rc_names=" + quoted_lines(actions.names) + "\n";
    text += shell_table("_rc_actions", actions.table);
    text += "\n# The settings, and the values of flags and choices.\n";
    text += "_rc_keys=" + quoted_lines(all_keys(reference)) + "\n";
    text += shell_table("_rc_values", values_of_keys(reference));
    text += "\n# Verbs by program; options by program, and by program and verb.\n";
    text += shell_table("_rc_verbs", tables.verbs);
    text += shell_table("_rc_options", tables.options);
    text += "\n# The kinds of words after a verb, or after an option that takes a word.\n";
    text += shell_table("_rc_kinds", tables.kinds);
    return text + completion_functions;
}
