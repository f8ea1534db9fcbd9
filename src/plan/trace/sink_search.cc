// The search for the places where settings end up.

#include "plan/trace/sink_search.h"

#include <algorithm>
#include <functional>
#include <tuple>

#include "core/shell_line.h"
#include "core/text.h"
#include "plan/router/lines.h"
#include "plan/router/shell_script.h"
#include "plan/trace/outputs.h"
#include "plan/trace/sink_context.h"
#include "settings/records.h"
#include "settings/table.h"

namespace {

// Only letters, so that no handler reads a number; in no other text of rc; short, because some
// fields of records are short.
constexpr std::string_view marker = "Zq";
// Only the first parts of long lists are marked, because the others are of the same kind.
constexpr size_t most_parts = 40;

// Longer values end up in the same places.
constexpr size_t long_value = 200;

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

size_t word_start(std::string_view line, size_t at) {
    while (at > 0 && !is_blank(line[at - 1])) at--;
    return at;
}

// The common part of all uses of a kind: for a command, its program and the option before the text;
// for a line of a file, the name before its "=".
std::string use_of(const FoundSink& sink) {
    const std::string_view line = sink.line;
    const size_t place = line.find('\x01');
    const std::string_view before = line.substr(0, place);
    if (sink.quoting == nvram::Quoting::File)
        return std::string(before.substr(
            0, std::min(before.find('='), before.size()) * (contains(before, "=") ? 1 : 0)));
    const size_t first = std::min(line.find_first_not_of(" \t"), place);
    std::string use(line.substr(first, std::min(line.find_first_of(" \t", first), place) - first));
    size_t end = word_start(line, place);
    while (end > 0 && is_blank(line[end - 1])) end--;
    const size_t start = word_start(line, end);
    if (start != first && line[start] == '-')
        use += " " + std::string(line.substr(start, end - start));
    return use;
}

// The signs of a bad example: empty places, hostile values made harmless, other parts of the marked
// value.
constexpr std::string_view gaps_in_examples[] = {"  ", "\"\"", "''", "::", "\t\t\t",
                                                 "xx", ";x",   "-.", ": ", marker};

// The settings that choose among an action's ways.
std::vector<const char*> modes_of(std::string_view action) {
    if (action == "wan") return {"wan_mode", "pptp_type", "l2tp_type"};
    if (action == "firewall") return {"fw_block", "ac_sch", "qos_type"};
    return {};
}

// Lines in which other settings are set are better examples.
auto rank(const FoundSink& sink) {
    size_t gaps = 0;
    for (const std::string_view gap : gaps_in_examples)
        for (size_t at = sink.line.find(gap); at != std::string::npos;
             at = sink.line.find(gap, at + 1))
            gaps++;
    return std::tuple(gaps, sink.line.size(), sink.line);
}

// Removes quotes and expansions from all settings, so that only the quoting of rc's own lines is
// found.
World plain_router(const World& router) {
    World world = copy_of(router);
    for (const char* path : {working_copy, flash_image, factory_image}) {
        const std::string* image = world.get(path);
        if (!image) continue;
        Settings settings = read_settings(*image);
        for (auto& [key, value] : settings) {
            value.resize(std::min(value.size(), long_value));
            for (char& c : value)
                if (contains("'\"`$\\%(){}[]*?|&<>!#~^\n\t", {&c, 1}) || c > '~' || c < 0) c = 'x';
        }
        world.put(path, settings_image(settings));
    }
    return world;
}

}  // namespace

nvram::Quoting quoting_at(std::string_view line, size_t place) {
    const ShellReader reader = shell_reader_at(line, place);
    // pppd passes the quoted text after this option to another shell, in which it is unquoted.
    const bool of_pppd = line.substr(0, reader.quotes_at()).ends_with("pty ");
    if (reader.quotes() == ShellQuotes::None || of_pppd) return nvram::Quoting::Bare;
    return reader.quotes() == ShellQuotes::Double ? nvram::Quoting::DoubleQuoted
                                                  : nvram::Quoting::SingleQuoted;
}

void SinkSearch::play_plain(const World& router, const std::vector<std::string>& words) {
    const Plan plan = make_plan(router, words);
    note_uses(plan);
    note_scripts(plan.after.transcript);
}

void SinkSearch::play_marked(const World& stated, const std::vector<std::string>& words) {
    // A group runs its applications one after the other; each is played by itself.
    const bool group = words.size() == 2 && words[1] != "init";
    if (group || (words.size() > 1 && words[1] == "service")) return;
    const World router = plain_router(stated);
    const Plan plan = make_plan(router, words);
    for (const Input& input : plan.after.inputs) {
        if (input.kind != Input::Kind::Setting) continue;
        Trial trial = {.router = &router,
                       .words = &words,
                       .key = input.name,
                       .mark = {{.before = "", .text = std::string(marker), .behind = ""}, ""},
                       .field = ""};
        const std::string value = value_of_input(plan.before, input).value_or("");
        const nvram::KnownSetting* known = nvram::find_known(input.name);
        if (!known || !known->record) {
            try_mark(trial);
            mark_parts(trial, value, 0, value.size());
            continue;
        }
        for (const nvram::Piece& piece : nvram::pieces_of(*known, value)) {
            trial.field = piece.field;
            mark_parts(trial, value, static_cast<size_t>(piece.text.data() - value.data()),
                       piece.text.size());
        }
    }
}

// Marks the numbers and words of one part of a value, each in turn.
void SinkSearch::mark_parts(Trial trial, const std::string& value, size_t from, size_t size) {
    const std::string mark(marker);
    auto parts = tokens_of(value.substr(from, size));
    if (parts.empty() && !trial.field.empty()) parts.emplace_back(0, 0);
    parts.resize(std::min(parts.size(), most_parts));
    for (const auto& [at, length] : parts) {
        const std::string part = value.substr(from + at, length);
        trial.mark.before = value.substr(0, from + at);
        trial.mark.behind = value.substr(from + at + length);
        // The mark instead of the part, after it and before it: a part that is compared or read as
        // a number may pass with one of them.
        for (const std::string& text : {mark, part + mark, mark + part}) {
            trial.mark.text = text;
            trial.mark.field = value.substr(from, at) + text +
                               value.substr(from + at + length, size - at - length);
            try_mark(trial);
        }
    }
}

void SinkSearch::try_mark(const Trial& trial) {
    const Plan plan = play_with(*trial.router, *trial.words, trial.key, trial.mark.value());
    for_each_output(plan, [&](const std::string& place, std::string_view line) {
        if (contains(line, marker)) note_line(trial, place, std::string(line));
    });
}

void SinkSearch::note_line(const Trial& trial, const std::string& place, std::string line) {
    // The separators of list records do not arrive in lines.
    for (char& c : line)
        if (c == '\x01') c = ' ';
    // The whole value if it arrived completely, otherwise the whole field.
    std::string text = trial.mark.text;
    for (const std::string& wider : {trial.mark.field, trial.mark.value()})
        if (contains(wider, marker) && contains(line, wider)) text = wider;
    const size_t at = line.find(text);
    if (at == std::string::npos) return;
    for (size_t next = at; next != std::string::npos; next = line.find(text, next))
        line.replace(next, text.size(), "\x01");
    FoundSink sink = {.key = trial.key,
                      .quoting = nvram::Quoting::File,
                      .place = place,
                      .line = line,
                      .passes = "",
                      .field = trial.field,
                      .when = ""};
    if (contains(place, "crontab"))
        sink.quoting = nvram::Quoting::Crontab;
    else if (place == "command" || scripts_.contains(place))
        sink.quoting = quoting_at(line, at);
    // The same line of different actions depends on different settings, and so does one of
    // different modes.
    std::string action = trial.words->size() > 1 ? (*trial.words)[1] : "";
    for (const char* key : modes_of(action))
        action += value_of_input(*trial.router, {.kind = Input::Kind::Setting, .name = key})
                      .value_or("") +
                  " ";
    const std::string same =
        format("%s\n%s\n%d\n%s\n%s\n%s", sink.key.c_str(), sink.field.c_str(),
               static_cast<int>(sink.quoting), place.c_str(), use_of(sink).c_str(), action.c_str());
    const auto found = places_.find(same);
    if (found != places_.end() && rank(found->second.sink) <= rank(sink)) return;
    places_.insert_or_assign(same, Place{.sink = sink,
                                         .router = *trial.router,
                                         .words = *trial.words,
                                         .mark = trial.mark,
                                         .carried = text});
}

// Finds the characters that arrive: each is put between the two letters of the marker once and
// searched for there. A newline ends the line itself.
static std::string passing_characters(const std::function<Plan(const std::string&)>& play_text,
                                      const std::string& place) {
    std::string passes;
    for (const char c : special_characters) {
        const std::string through = {marker[0], c, marker[1]};
        bool arrived = false;
        for_each_output(play_text(through), [&](const std::string& where, std::string_view line) {
            if (where != place) return;
            const bool ended = c == '\n' && place != "command" && line.ends_with(marker[0]);
            arrived = arrived || ended || contains(line, through);
        });
        if (arrived) passes += c;
    }
    return passes;
}

void SinkSearch::note_uses(const Plan& plan) {
    const bool boot = plan.words.size() > 1 && plan.words[1] == "init";
    if (plan.words.size() < (boot ? 2 : 3)) return;
    // Without a working copy any action begins with what "rc init" does.
    if (!boot && plan.before.get(working_copy) == nullptr) return;
    for (const std::string& key : plan.after.own_settings) uses_[key].insert(plan.words[1]);
}

// "/bin/sh -x /tmp/rules", "/tmp/qos.conf start", "sh /etc/rc.local &"
void SinkSearch::note_scripts(const Transcript& transcript) {
    for (const Event& event : transcript.events()) {
        if (event.verb != "run") continue;
        for (const ScriptCommand& command : script_commands(event.text))
            scripts_.insert(script_of(command));
    }
}

namespace {

// A line that holds a part of the value only, next to one that holds all of it.
bool is_covered(const FoundSink& part, const FoundSink& whole) {
    const auto program = [](const std::string& line) { return line.substr(0, line.find(' ')); };
    return part.key == whole.key && part.field == whole.field && part.place == whole.place &&
           part.quoting == whole.quoting && program(part.line) == program(whole.line);
}

// The conditions, by name.
std::map<std::string, std::string> terms_of(const std::string& when) {
    std::map<std::string, std::string> terms;
    for (std::string_view rest = when; !rest.empty();) {
        const std::string_view term = rest.substr(0, rest.find(';'));
        rest.remove_prefix(std::min(rest.size(), term.size() + 1));
        const size_t sign = std::max<size_t>(term.find_first_of("=^!+-#?><"), 1);
        terms[std::string(term.substr(0, sign))] = term.substr(sign);
    }
    return terms;
}

std::string when_of(const std::map<std::string, std::string>& terms) {
    std::string when;
    for (const auto& [name, term] : terms) when += (when.empty() ? "" : ";") + name + term;
    return when;
}

// Either of two conditions on the same setting: "" if that is always so, nullopt if one term does
// not say it.
std::optional<std::string> either(const std::string& one, const std::string& other) {
    if (one == other) return one;
    if (one.substr(1) == other.substr(1)) return "";
    if (one[0] != other[0] || (one[0] != '^' && one[0] != '=')) return std::nullopt;
    std::string all = one;
    for (std::string_view rest = std::string_view(other).substr(1); !rest.empty();) {
        const std::string_view item =
            one[0] == '^' ? rest.substr(0, 1) : rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), item.size() + (one[0] == '^' ? 0 : 1)));
        const bool has = one[0] == '^'
                             ? contains(all, item)
                             : contains("," + all.substr(1) + ",", "," + std::string(item) + ",");
        if (!has) all += (one[0] == '^' ? "" : ",") + std::string(item);
    }
    return all;
}

bool has_all(const std::map<std::string, std::string>& terms,
             const std::map<std::string, std::string>& others) {
    return std::ranges::includes(terms, others);
}

// Whether one sink can say what both say; then it is made to: if one has all conditions of the
// other, or if they differ in one at most. A condition that one of them does without is none.
bool merge(FoundSink& sink, const FoundSink& other) {
    FoundSink same = other;
    same.when = sink.when;
    if (same != sink) return false;
    const std::map<std::string, std::string> terms = terms_of(sink.when);
    const std::map<std::string, std::string> others = terms_of(other.when);
    // What is said of the text itself must be the same.
    for (const char* sign : {">", "<", "!"})
        if (terms.contains(sign) != others.contains(sign) ||
            (terms.contains(sign) && terms.at(sign) != others.at(sign)))
            return false;
    if (has_all(terms, others) || has_all(others, terms)) {
        sink.when = when_of(terms.size() < others.size() ? terms : others);
        return true;
    }
    std::map<std::string, std::string> both;
    size_t different = 0;
    for (const auto& [name, term] : terms) {
        const auto found = others.find(name);
        const bool missing = found == others.end();
        if (missing || found->second != term) different++;
        if (missing) continue;
        const std::optional<std::string> merged = either(term, found->second);
        if (!merged) return false;
        if (!merged->empty()) both[name] = *merged;
    }
    for (const auto& [name, term] : others)
        if (!terms.contains(name)) different++;
    if (different > 1) return false;
    sink.when = when_of(both);
    return true;
}

}  // namespace

std::vector<FoundSink> SinkSearch::found() const {
    std::vector<FoundSink> list;
    const auto is_whole = [](const Place& place) {
        return place.carried == place.mark.value() || place.carried == place.mark.field;
    };
    for (const auto& [same, place] : places_) {
        const bool covered =
            !is_whole(place) &&
            std::ranges::any_of(places_, [&, &place = place](const auto& other) {
                return is_whole(other.second) && is_covered(place.sink, other.second.sink);
            });
        if (covered) continue;
        FoundSink sink = place.sink;
        const auto play_text = [&place = place](const std::string& text) {
            return play_with(place.router, place.words, place.sink.key,
                             place.mark.before + text + place.mark.behind);
        };
        sink.passes = passing_characters(play_text, place.sink.place);
        const SinkContext context = context_of({.router = place.router,
                                                .words = place.words,
                                                .key = place.sink.key,
                                                .marked = place.mark,
                                                .carried = place.carried,
                                                .whole = is_whole(place),
                                                .place = place.sink.place,
                                                .shell = sink.quoting != nvram::Quoting::File,
                                                .line = place.sink.line});
        sink.line = context.line;
        sink.when = context.when;
        const bool known =
            std::ranges::any_of(list, [&](FoundSink& other) { return merge(other, sink); });
        if (!known) list.push_back(sink);
    }
    std::ranges::sort(list);
    return list;
}
