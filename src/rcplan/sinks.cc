// rcplan sinks: where setting values end up, as text and as the tables that nvram is built with.

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <set>

#include "plan/router/actions.h"
#include "plan/router/case_file.h"
#include "plan/router/input.h"
#include "plan/trace/sink_search.h"
#include "plan/trace/state_files.h"
#include "rcplan/files.h"
#include "rcplan/verbs.h"
#include "settings/table.h"

namespace {

const char* quoting_name(nvram::Quoting quoting) {
    switch (quoting) {
        case nvram::Quoting::Bare:
            return "Bare";
        case nvram::Quoting::DoubleQuoted:
            return "DoubleQuoted";
        case nvram::Quoting::SingleQuoted:
            return "SingleQuoted";
        case nvram::Quoting::File:
            return "File";
        case nvram::Quoting::Crontab:
            return "Crontab";
    }
    return "";
}

const char* quoting_words(nvram::Quoting quoting) {
    switch (quoting) {
        case nvram::Quoting::Bare:
            return "unquoted in a shell line";
        case nvram::Quoting::DoubleQuoted:
            return "in double quotes";
        case nvram::Quoting::SingleQuoted:
            return "in single quotes";
        case nvram::Quoting::File:
            return "a line of a file";
        case nvram::Quoting::Crontab:
            return "a line of a crontab";
    }
    return "";
}

// As a C++ literal. A hexadecimal escape would include a following digit, so escapes are octal.
std::string literal(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out += {'\\', c};
        else if (c < 0x20 || c > 0x7e)
            out += fmt::format("\\{:03o}", static_cast<unsigned char>(c));
        else
            out += c;
    }
    return out + "\"";
}

void print_sinks(const std::vector<FoundSink>& sinks, const std::vector<std::string>& keys) {
    std::string key;
    for (const FoundSink& sink : sinks) {
        if (!keys.empty() && std::ranges::find(keys, sink.key) == keys.end()) continue;
        if (sink.key != key) std::cout << sink.key << "\n";
        key = sink.key;
        std::string line;
        nvram::fill_sink_line(line, sink.line, [&](char kind, std::string_view other) {
            std::string name = sink.field.empty() ? key : sink.field;
            if (kind == nvram::sink_other) name = other.substr(other.starts_with(':') ? 1 : 0);
            line += kind == nvram::sink_unknown ? "..." : "{" + name + "}";
        });
        std::cout << "    " << (sink.place == "command" ? "runs" : sink.place) << ", "
                  << quoting_words(sink.quoting) << ":\n        " << escape_line(line) << "\n";
    }
}

constexpr const char* renewed =
    "// Written by tools/renew.sh: rcplan {} over every action and every case.\n";

void print_sink_table(const std::vector<FoundSink>& sinks) {
    std::cout << fmt::format(renewed, "sinks --table sinks");
    for (const FoundSink& sink : sinks)
        if (nvram::find_known(sink.key))
            std::cout << fmt::format("{{{}, Quoting::{}, {},\n {},\n {}, {},\n {}}},\n",
                                     literal(sink.key), quoting_name(sink.quoting),
                                     literal(sink.place), literal(sink.line), literal(sink.passes),
                                     literal(sink.field), literal(sink.when));
}

// The actions that use each setting, by key, as in nvram::Use.
std::map<std::string, std::string> actions_by_key(const SinkSearch& search) {
    // Only the table's actions count: groups run them under their names, and cases call rc with
    // words that are no action.
    std::set<std::string> names;
    for (const std::vector<std::string>& words : all_actions()) names.insert(words[1]);
    std::map<std::string, std::string> found;
    for (const auto& [key, callers] : search.uses()) {
        // rc composes some keys from numbers in other settings.
        if (!nvram::find_known(key)) continue;
        std::vector<std::string> actions;
        std::ranges::set_intersection(callers, names, std::back_inserter(actions));
        found[key] = fmt::format("{}", fmt::join(actions, " "));
    }
    return found;
}

void print_use_table(const SinkSearch& search) {
    std::cout << fmt::format(renewed, "sinks --table uses");
    for (const auto& [key, actions] : actions_by_key(search))
        std::cout << fmt::format("{{{}, \"{}\"}},\n", literal(key), actions);
}

// The same the other way round, which is smaller.
void print_restart_table(const SinkSearch& search) {
    std::cout << fmt::format(renewed, "sinks --table restarts");
    std::map<std::string, std::vector<std::string>> keys_by_actions;
    for (const auto& [key, actions] : actions_by_key(search))
        keys_by_actions[actions].push_back(key);
    for (const auto& [actions, keys] : keys_by_actions)
        std::cout << fmt::format("{{\"{}\",\n \"{}\"}},\n", actions, fmt::join(keys, " "));
}

// A router and a call of rc.
struct Play {
    World router;
    std::vector<std::string> words;
};

void print_file_table(const std::vector<Play>& plays) {
    std::set<std::string> files;
    for (const Play& play : plays) files.merge(state_files(make_plan(play.router, play.words)));
    for (const std::string& file : files) std::cout << file << "\n";
}

bool add_case(const std::string& path, bool for_restarts, std::vector<Play>& plays) {
    const auto loaded = load_case(path);
    if (const auto* error = std::get_if<CaseError>(&loaded)) {
        complain(error->message);
        return false;
    }
    const auto& stated = std::get<Case>(loaded);
    std::vector<std::string> words = stated.words;
    // "create" leaves the rules unused; what "start" needs to use them belongs to the line.
    const std::vector<std::string> create = {"rc", "firewall", "create"};
    if (words == create) words[2] = "start";
    // A save during the run would blur on which settings a line depends.
    if (!stated.world.changes.empty()) return true;
    World router = case_world(stated);
    // Cases leave out what does not matter to them, but every router has an operating mode, and on
    // it depends whether other settings choose.
    const Input mode = {.kind = Input::Kind::Setting, .name = "ap_mode"};
    if (!value_of_input(router, mode)) change_setting(router, "ap_mode", "0");
    // No start of the schedule writes the crontab that its "create" writes: the firewall's does.
    const std::vector<std::string> crontab = {"rc", "schedule", "create"};
    if (for_restarts && words == crontab)
        plays.push_back({.router = copy_of(router), .words = {"rc", "firewall", "start"}});
    plays.push_back({.router = std::move(router), .words = std::move(words)});
    return true;
}

bool collect(const SinksOptions& options, std::vector<Play>& plays) {
    const std::optional<StatedRouter> router = read_router(options.router);
    if (!router) return false;
    for (const std::vector<std::string>& words : all_actions())
        plays.push_back({.router = router->before(words), .words = words});
    return std::ranges::all_of(options.cases, [&](const std::string& path) {
        return add_case(path, options.table == "restarts", plays);
    });
}

}  // namespace

int sinks_verb(const SinksOptions& options) {
    std::vector<Play> plays;
    if (!collect(options, plays)) return status_wrong_use;
    if (options.table == "files") {
        print_file_table(plays);
        return status_done;
    }
    SinkSearch search;
    for (const Play& play : plays) search.play_plain(play.router, play.words);
    if (options.table == "uses") {
        print_use_table(search);
        return status_done;
    }
    if (options.table == "restarts") {
        print_restart_table(search);
        return status_done;
    }
    for (const Play& play : plays) search.play_marked(play.router, play.words);
    if (options.table == "sinks")
        print_sink_table(search.found());
    else
        print_sinks(search.found(), options.keys);
    return status_done;
}
