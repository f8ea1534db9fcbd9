// Finds influences by playing a run again with one input changed, and comparing the transcripts.

#include "plan/trace/influence.h"

#include <algorithm>

#include "settings/records.h"
#include "settings/table.h"

namespace {

constexpr long long second = 1'000'000;
constexpr long long day = 24LL * 3600 * second;

// A longer list has more parts than can be changed one by one.
constexpr size_t long_list = 64;

using Change = std::function<void(World&)>;

Change change_to(const std::string& key, std::optional<std::string> other) {
    return [key, other = std::move(other)](World& w) { change_setting(w, key, other); };
}

// The record type of a setting that is a list of records; nullptr for any other input.
const nvram::Record* list_of(const Input& input) {
    if (input.kind != Input::Kind::Setting) return nullptr;
    const nvram::KnownSetting* known = nvram::find_known(input.name);
    if (!known || !known->record || known->record->between == '\0') return nullptr;
    return known->record;
}

std::vector<Change> setting_changes(const World& world, const Input& input) {
    const std::optional<std::string> value = value_of_input(world, input);
    std::vector<Change> changes;
    if (value) {
        std::vector<std::string> others = neighbours(*value);
        // A list's parts are changed entry by entry.
        if (list_of(input) && others.size() > 1) others.erase(others.begin(), others.end() - 1);
        for (const std::string& other : others) changes.push_back(change_to(input.name, other));
        changes.push_back(change_to(input.name, std::nullopt));
    }
    if (!value || !value->empty()) changes.push_back(change_to(input.name, ""));
    if (!value || *value != "1") changes.push_back(change_to(input.name, "1"));
    return changes;
}

// An entry with all parts of one field changed, once for each field; fields that choose, switches
// and words of a choice, are left out.
std::vector<std::string> with_other_texts(const nvram::Record& record, const std::string& entry) {
    std::vector<std::string> others;
    const std::vector<std::string_view> fields = nvram::split_fields(record, entry);
    for (size_t i = 0; i < fields.size(); i++) {
        const nvram::Form form = record.fields[i].form;
        if (form == nvram::Form::Flag || form == nvram::Form::Choice) continue;
        const std::vector<std::string> texts = neighbours(std::string(fields[i]));
        if (texts.empty()) continue;
        const auto start = static_cast<size_t>(fields[i].data() - entry.data());
        others.push_back(entry.substr(0, start) + texts.back() +
                         entry.substr(start + fields[i].size()));
    }
    return others;
}

// The values of a list that differ from this one in one entry.
std::vector<std::string> with_entry_changed(const nvram::Record& record, const std::string& value,
                                            std::string_view entry) {
    const auto start = static_cast<size_t>(entry.data() - value.data());
    const std::string text(entry);
    std::vector<std::string> others = neighbours(text);
    if (tokens_of(value).size() > long_list && others.size() > 1) {
        const std::string all = others.back();
        others = with_other_texts(record, text);
        others.push_back(all);
    }
    for (std::string& other : others)
        other = value.substr(0, start) + other + value.substr(start + entry.size());
    return others;
}

// A missing interface gets an address reserved for documentation (RFC 5737).
std::vector<Change> interface_changes(const World& world, const Input& input) {
    const std::string& name = input.name;
    const auto found = world.interfaces.find(name);
    if (found == world.interfaces.end())
        return {[name](World& w) { w.interfaces[name].address = "192.0.2.7"; }};
    if (input.kind == Input::Kind::Mtu) return {[name](World& w) { w.interfaces[name].mtu -= 1; }};
    if (input.kind == Input::Kind::Mac)
        return {[name](World& w) { w.interfaces[name].mac[5] ^= 1; }};
    if (!found->second.address)
        return {[name](World& w) { w.interfaces[name].address = "192.0.2.7"; }};
    std::vector<Change> changes = {[name](World& w) { w.interfaces[name].address.reset(); }};
    for (const std::string& other : neighbours(*found->second.address))
        changes.emplace_back([name, other](World& w) { w.interfaces[name].address = other; });
    return changes;
}

std::vector<Change> file_changes(const World& world, const std::string& path) {
    const std::string* content = world.get(path);
    if (!content) return {[path](World& w) { w.put(path, ""); }};
    std::vector<Change> changes = {[path](World& w) { w.files.erase(path); },
                                   [path](World& w) { w.put(path, ""); }};
    for (const std::string& other : neighbours(*content))
        changes.emplace_back([path, other](World& w) { w.put(path, other); });
    return changes;
}

std::vector<Change> output_changes(const World& world, const std::string& line) {
    const auto found = world.outputs.find(line);
    if (found == world.outputs.end()) return {[line](World& w) { w.outputs[line] = "1\n"; }};
    std::vector<Change> changes = {[line](World& w) { w.outputs.erase(line); }};
    for (const std::string& other : neighbours(found->second))
        changes.emplace_back([line, other](World& w) { w.outputs[line] = other; });
    return changes;
}

std::vector<Change> host_changes(const World& world, const std::string& name) {
    if (!world.hosts.contains(name)) return {[name](World& w) { w.hosts[name] = "192.0.2.7"; }};
    return {[name](World& w) { w.hosts[name] = "192.0.2.7"; },
            [name](World& w) { w.hosts.erase(name); }};
}

// All changes that are tried for an input.
std::vector<Change> changes_of(const World& world, const Input& input) {
    switch (input.kind) {
        case Input::Kind::Setting:
            return setting_changes(world, input);
        case Input::Kind::Flash:
            return {[](World& w) { w.files.erase(flash_image); },
                    [](World& w) { w.files.erase(factory_image); }};
        case Input::Kind::Address:
        case Input::Kind::Mac:
        case Input::Kind::Mtu:
            return interface_changes(world, input);
        case Input::Kind::Output:
            return output_changes(world, input.name);
        case Input::Kind::File:
            return file_changes(world, input.name);
        case Input::Kind::Host:
            return host_changes(world, input.name);
        case Input::Kind::Clock:
            // Another minute, hour, day of the week, and half-year.
            return {[](World& w) { w.clock_microseconds += 61 * second; },
                    [](World& w) { w.clock_microseconds += day / 2; },
                    [](World& w) { w.clock_microseconds += 3 * day; },
                    [](World& w) { w.clock_microseconds += 182 * day; }};
        case Input::Kind::Uptime:
            return {[](World& w) { w.uptime_microseconds = 5 * second; },
                    [](World& w) { w.uptime_microseconds += 1000 * second; }};
        case Input::Kind::Pid:
            return {[](World& w) { w.pid += 1; }};
    }
    return {};
}

// Collects the lines that differ in a changed world, and for each whether it is missing there.
class Comparison {
  public:
    explicit Comparison(const Plan& plan) : plan_(plan), base_(plan.after.transcript) {}

    void try_change(const Change& change) {
        World world = copy_of(plan_.before);
        change(world);
        Recording other;
        other.world = std::move(world);
        play(other, plan_.words);
        for (const auto& [line, replaced] : base_.missing_in(other.transcript)) {
            const auto [slot, is_new] = touched_.try_emplace({line, entry_}, !replaced);
            // That a line contains the value is the stronger statement.
            if (!is_new && replaced) slot->second = false;
        }
    }

    // The changes tried up to the next call are those of this entry of a list; 0 for all others.
    void begin_entry(unsigned entry) { entry_ = entry; }

    // Moves the lines found since the last call into the provenance.
    void hand_over(const Influence& influence, Provenance& provenance) {
        // By line and whether the line only depends on them: the entries, if any.
        std::map<std::pair<size_t, bool>, std::vector<unsigned>> found;
        for (const auto& [place, decides] : touched_) {
            const auto& [line, entry] = place;
            if (entry != 0)
                found[{line, decides}].push_back(entry);
            else if (!touches_entry(line))
                found[{line, decides}] = {};
        }
        for (const auto& [place, entries] : found) {
            Influence one = influence;
            one.decides = place.second;
            one.entries = entries;
            provenance.add(base_.lines()[place.first].origin, one);
        }
        touched_.clear();
        entry_ = 0;
    }

  private:
    const Plan& plan_;
    LineBase base_;
    unsigned entry_ = 0;
    // By line and entry: whether the line is missing in a changed world.
    std::map<std::pair<size_t, unsigned>, bool> touched_;

    // A line that depends on an entry depends on the list too, which says less.
    bool touches_entry(size_t line) const {
        const auto next = touched_.lower_bound({line, 1});
        return next != touched_.end() && next->first.first == line;
    }
};

// Changes the entries of a list one after the other.
void try_entries(const Plan& plan, const Input& input, Comparison& comparison) {
    const nvram::Record* list = list_of(input);
    const std::optional<std::string> value = value_of_input(plan.before, input);
    if (!list || !value) return;
    unsigned entry = 0;
    for (const std::string_view text : nvram::split_records(*list, *value)) {
        comparison.begin_entry(++entry);
        for (const std::string& other : with_entry_changed(*list, *value, text))
            comparison.try_change(change_to(input.name, other));
    }
}

}  // namespace

std::string Influence::text() const {
    const std::string condition = decides ? "if " : "";
    if (entries.empty()) return condition + statement(input, answer);
    Input named = input;
    named.name += " " + entries_text();
    return condition + (entries.size() > 1 ? named.name : statement(named, own_answer()));
}

std::string Influence::entries_text() const {
    if (entries.empty()) return "";
    std::string text = entries.size() == 1 ? "entry " : "entries ";
    for (size_t i = 0; i < entries.size(); i++) {
        size_t last = i;
        while (last + 1 < entries.size() && entries[last + 1] == entries[last] + 1) last++;
        text += (i == 0 ? "" : ", ") + std::to_string(entries[i]);
        if (last > i) text += "-" + std::to_string(entries[last]);
        i = last;
    }
    return text;
}

std::optional<std::string> Influence::own_answer() const {
    const nvram::Record* list = list_of(input);
    if (!list || !answer || entries.size() != 1) return answer;
    const std::vector<std::string_view> records = nvram::split_records(*list, *answer);
    if (entries[0] == 0 || entries[0] > records.size()) return answer;
    return std::string(records[entries[0] - 1]);
}

bool Influence::same_as(const Influence& other) const {
    return decides == other.decides && input == other.input && entries == other.entries;
}

const std::vector<Influence>& Provenance::of(const Origin& line) const {
    static const std::vector<Influence> none;
    const auto found = lines_.find(line);
    return found == lines_.end() ? none : found->second;
}

std::vector<Influence> Provenance::assumed() const {
    std::map<Input, Influence> facts;
    for (const auto& [line, influences] : lines_)
        for (const Influence& influence : influences)
            if (influence.input.kind != Input::Kind::Setting)
                facts.try_emplace(influence.input, influence);
    std::vector<Influence> list;
    for (auto& [input, influence] : facts) {
        influence.decides = false;
        list.push_back(influence);
    }
    return list;
}

void Provenance::add(const Origin& line, const Influence& influence) {
    lines_[line].push_back(influence);
}

Provenance Provenance::changed(const std::function<Influence(const Influence&)>& change) const {
    Provenance other;
    for (const auto& [line, influences] : lines_)
        for (const Influence& influence : influences) other.add(line, change(influence));
    return other;
}

Provenance trace(const Plan& plan, const Progress& progress, Chosen chosen) {
    Provenance provenance;
    Comparison comparison(plan);
    size_t done = 0;
    for (const Input& input : plan.after.inputs) {
        if (progress) progress(done++, plan.after.inputs.size());
        if (chosen && !chosen(input)) continue;
        for (const Change& change : changes_of(plan.before, input)) comparison.try_change(change);
        try_entries(plan, input, comparison);
        comparison.hand_over({.input = input, .answer = value_of_input(plan.before, input)},
                             provenance);
    }
    return provenance;
}

std::vector<Influence> facts_read(const Plan& plan) {
    std::vector<Influence> facts;
    for (const Input& input : plan.after.inputs) {
        switch (input.kind) {
            case Input::Kind::Address:
            case Input::Kind::Mac:
            case Input::Kind::Mtu:
            case Input::Kind::Output:
            case Input::Kind::Host:
            case Input::Kind::Clock:
                facts.push_back({.input = input, .answer = value_of_input(plan.before, input)});
                break;
            default:
                break;
        }
    }
    return facts;
}
