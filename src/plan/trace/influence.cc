// Finds influences by playing a run again with one input changed, and comparing the transcripts.

#include "plan/trace/influence.h"

#include <algorithm>

namespace {

constexpr long long second = 1'000'000;
constexpr long long day = 24LL * 3600 * second;

using Change = std::function<void(World&)>;

std::vector<Change> setting_changes(const World& world, const std::string& key) {
    const std::optional<std::string> value =
        value_of_input(world, {.kind = Input::Kind::Setting, .name = key});
    std::vector<Change> changes;
    const auto add = [&](std::optional<std::string> other) {
        changes.emplace_back(
            [key, other = std::move(other)](World& w) { change_setting(w, key, other); });
    };
    if (value) {
        for (const std::string& other : neighbours(*value)) add(other);
        add(std::nullopt);
    }
    if (!value || !value->empty()) add("");
    if (!value || *value != "1") add("1");
    return changes;
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
            return setting_changes(world, input.name);
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
    explicit Comparison(const Plan& plan) : plan_(plan), lines_(lines_of(plan.after.transcript)) {}

    void try_change(const Change& change) {
        World world = copy_of(plan_.before);
        change(world);
        Recording other;
        other.world = std::move(world);
        play(other, plan_.words);
        note(lines_of(other.transcript));
    }

    // Moves the lines found since the last call into the provenance.
    void hand_over(const Influence& influence, Provenance& provenance) {
        for (const auto& [line, decides] : touched_) {
            Influence found = influence;
            found.decides = decides;
            provenance.add(lines_[line].origin, found);
        }
        touched_.clear();
    }

  private:
    const Plan& plan_;
    std::vector<TranscriptLine> lines_;
    std::map<size_t, bool> touched_;

    void note(const std::vector<TranscriptLine>& others) {
        for (const LineChange& change : compare_lines(lines_, others)) {
            for (size_t line = change.from; line < change.to; line++) {
                // A line with only its text changed has a counterpart at the same position.
                const size_t peer = change.other_from + (line - change.from);
                const bool same_kind =
                    change.to - change.from == change.other_to - change.other_from &&
                    lines_[line].kind == others[peer].kind;
                const auto [slot, is_new] = touched_.try_emplace(line, !same_kind);
                // That a line contains the value is the stronger statement.
                if (!is_new && same_kind) slot->second = false;
            }
        }
    }
};

}  // namespace

std::string Influence::text() const {
    return (decides ? "if " : "") + statement(input, answer);
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

Provenance trace(const Plan& plan, const Progress& progress) {
    Provenance provenance;
    Comparison comparison(plan);
    size_t done = 0;
    for (const Input& input : plan.after.inputs) {
        if (progress) progress(done++, plan.after.inputs.size());
        for (const Change& change : changes_of(plan.before, input)) comparison.try_change(change);
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
