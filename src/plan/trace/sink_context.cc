// What a sink's line says in general.

#include "plan/trace/sink_context.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "core/text.h"
#include "plan/trace/outputs.h"
#include "plan/trace/sink_condition.h"
#include "plan/trace/sink_lines.h"
#include "settings/records.h"
#include "settings/sinks.h"
#include "settings/table.h"

namespace {

using nvram::sink_other;
using nvram::sink_text;
using nvram::sink_unknown;

// One run, played again and again.
class Search {
  public:
    explicit Search(const SinkWitness& witness)
        : witness_(witness), world_(copy_of(witness.router)), line_(witness.line) {}

    SinkContext run() {
        change_setting(world_, witness_.key, value());
        fill_in();
        const nvram::KnownSetting* const known = nvram::find_known(witness_.key);
        const bool fields =
            known != nullptr && known->record != nullptr && witness_.carried != value();
        const size_t count = fields ? known->record->fields.size() : 0;
        // First everything that stands in the line itself, so that what is tried later changes no
        // more than it has to.
        for (size_t i = 0; i < count; i++) mark_field(*known, i);
        // The operating mode is tried by itself: with each of its values other settings choose, and
        // changed together with them it would hide that.
        const std::string mode = "ap_mode";
        std::vector<std::string> others;
        bool has_mode = false;
        for (const Input& input : make_plan(world_, witness_.words).after.inputs) {
            if (input.kind != Input::Kind::Setting || input.name == witness_.key) continue;
            if (input.name == mode)
                has_mode = true;
            else
                others.push_back(input.name);
        }
        std::vector<std::string> relevant = relevant_of(others);
        if (has_mode && !relevant_of({&mode, 1}).empty()) relevant.push_back(mode);
        for (const std::string& key : relevant) mark_setting(key);
        for (size_t i = 0; i < count; i++) try_field(*known, i);
        try_neighbours();
        for (const std::string& key : relevant) try_setting(key);
        try_addresses();
        try_files();
        for (const std::string& variant : variants_) line_ = generalised(line_, variant);
        try_part();
        // A part of the text itself.
        const std::string own_part = witness_.carried.substr(0, witness_.carried.rfind('.'));
        if (own_part.size() > 3 && own_part != witness_.carried)
            replace_all(own_part, std::string(1, sink_unknown));
        for (const auto& [token, name] : others_) {
            replace_all(token, std::string(1, sink_other) + name + sink_other);
            // A part of an address.
            const std::string part = token.substr(0, token.rfind('.'));
            if (part != token) replace_all(part, std::string(1, sink_unknown));
        }
        try_lengths();
        return {.line = line_, .when = when_};
    }

  private:
    const SinkWitness& witness_;
    World world_;
    std::string line_;
    MarkedValue marked_ = witness_.marked;
    // Other settings' values, or other fields', that stand in the line.
    std::map<std::string, std::string> others_;
    std::set<std::string> variants_;
    bool only_last_option_ = false;
    std::string when_;
    // Of the value, what the line holds.
    std::string carried_ = witness_.carried;

    std::string value() const { return marked_.value(); }

    void replace_all(const std::string& text, const std::string& by) {
        for (size_t at = line_.find(text); at != std::string::npos;
             at = line_.find(text, at + by.size()))
            line_.replace(at, text.size(), by);
    }

    // The line that takes this one's place in a changed world: in the state in which the run found
    // it, or else once the WAN is up, since a condition says that rc can write the line.
    std::optional<std::string> line_in(const World& world) const {
        std::optional<std::string> line = best_of(lines_in(world));
        if (line) return line;
        // The lines that are there beside this one take no other's place.
        std::set<std::string> beside = lines_in(with_wan_up(world_));
        if (const std::optional<std::string> own = best_of(beside)) beside.erase(*own);
        std::set<std::string> lines = lines_in(with_wan_up(world));
        for (const std::string& other : beside) lines.erase(other);
        return best_of(lines);
    }

    // With a DHCP client that runs, a default route, and an address on each interface that the
    // settings name.
    static World with_wan_up(const World& world) {
        World up = copy_of(world);
        up.outputs["/bin/ps -ax"] = "  12 root  udhcpc\n";
        up.outputs["/sbin/route -n"] = "0.0.0.0 198.51.100.1 0.0.0.0 UG 0 0 0 eth2.2\n";
        for (const char* key : {"wan_phy_ifname", "wan_ifname"}) {
            const std::string name =
                value_of_input(world, {.kind = Input::Kind::Setting, .name = key}).value_or("");
            if (!name.empty()) up.interfaces[name].address = "198.51.100.77";
        }
        return up;
    }

    // The lines of the same use that hold the carried text.
    std::set<std::string> lines_in(const World& world) const {
        std::set<std::string> lines;
        for_each_output(make_plan(world, witness_.words),
                        [&](const std::string& place, std::string_view text) {
                            if (place != witness_.place || !contains(text, carried_)) return;
                            std::string line(text);
                            for (char& c : line)
                                if (c == '\x01') c = ' ';
                            for (size_t at = line.find(carried_); at != std::string::npos;
                                 at = line.find(carried_, at))
                                line.replace(at, carried_.size(), 1, sink_text);
                            if (same_use(line)) lines.insert(line);
                        });
        return lines;
    }

    std::optional<std::string> best_of(const std::set<std::string>& lines) const {
        std::optional<std::string> best;
        for (const std::string& line : lines)
            if (!best || likeness(line, line_) > likeness(*best, line_)) best = line;
        return best;
    }

    // What a case leaves unset, as the factory has it, if rc then still writes the line: conditions
    // that take two settings are seen with sound ones.
    void fill_in() {
        const Settings stated = read_settings(image_in_force(world_));
        SettingChanges changes;
        for (const nvram::SettingGroup& group : nvram::setting_groups())
            for (const nvram::KnownSetting& known : group.settings)
                if (!stated.contains(known.key)) changes[known.key] = known.factory;
        World filled = copy_of(world_);
        change_settings(filled, changes);
        const std::optional<std::string> line = line_in(filled);
        if (!line) return;
        world_ = filled;
        line_ = *line;
    }

    // The settings that make any difference to the line, found by changing many at once.
    std::vector<std::string> relevant_of(std::span<const std::string> keys) const {
        if (keys.empty()) return {};
        bool same = true;
        for (const char* text : {"Qzz", "", "0", "1", other_mac}) {
            SettingChanges changes;
            for (const std::string& key : keys) changes[key] = text;
            same = same && line_after(changes) == line_;
        }
        for (size_t turn = 0; same && turn < most_words / 2; turn++) {
            SettingChanges changes;
            for (const std::string& key : keys) {
                const nvram::KnownSetting* const known = nvram::find_known(key);
                const auto words = nvram::words_of(known == nullptr ? "" : known->choices);
                if (!words.empty()) changes[key] = std::string(words[turn % words.size()]);
            }
            same = line_after(changes) == line_;
        }
        if (same) return {};
        if (keys.size() == 1) return {keys[0]};
        std::vector<std::string> found = relevant_of(keys.subspan(0, keys.size() / 2));
        for (const std::string& key : relevant_of(keys.subspan(keys.size() / 2)))
            found.push_back(key);
        return found;
    }

    bool same_use(const std::string& line) const {
        if (!witness_.shell) return same_name(line, line_);
        return only_last_option_ ? same_last_option(line, line_) : same_options(line, line_);
    }

    std::optional<std::string> line_after(const SettingChanges& changes) const {
        World world = copy_of(world_);
        change_settings(world, changes);
        return line_in(world);
    }

    std::optional<std::string> line_with(const std::string& key, const std::string& text) const {
        return line_after({{key, text}});
    }

    void add_condition(const std::string& name, const Samples& samples, nvram::Form form) {
        const std::optional<std::string> condition = condition_of(samples, form);
        if (condition && condition->empty()) return;
        add_term(name, condition.value_or("?"));
    }

    void add_term(const std::string& name, const std::string& condition) {
        when_ += (when_.empty() ? "" : ";") + name + condition;
    }

    void mark_setting(const std::string& key) {
        const nvram::KnownSetting* const known = nvram::find_known(key);
        if (known == nullptr) return;
        const std::string token = token_of(others_.size(), known->form);
        const std::optional<std::string> marked = line_with(key, token);
        if (!marked || !contains(*marked, token)) return;
        change_setting(world_, key, token);
        line_ = *marked;
        others_[token] = key;
    }

    // The line with another text in place of a mark.
    std::string line_with_text(const std::string& mark, const std::string& text) const {
        std::string line = line_;
        for (size_t at = line.find(mark); at != std::string::npos;
             at = line.find(mark, at + text.size()))
            line.replace(at, mark.size(), text);
        return line;
    }

    bool is_marked(const std::string& name) const {
        return std::ranges::any_of(others_, [&](const auto& o) { return o.second == name; });
    }

    void try_setting(const std::string& key) {
        const nvram::KnownSetting* const known = nvram::find_known(key);
        if (known == nullptr) return;
        const bool marked = is_marked(key);
        const std::string own =
            value_of_input(world_, {.kind = Input::Kind::Setting, .name = key}).value_or("");
        const std::optional<std::string> empty = line_with(key, "");
        if (marked) {
            // With some values more changes than the place where the value stands.
            for (const std::string& text : {std::string(), std::string(known->factory)}) {
                const std::optional<std::string> found = line_with(key, text);
                if (found && *found != line_with_text(own, text)) variants_.insert(*found);
            }
            return add_condition(key, {{own, true}, {"", empty.has_value()}}, nvram::Form::Text);
        }
        Samples samples;
        for (const std::string& text : values_to_try(known->form, known->choices, own)) {
            const std::optional<std::string> found = line_with(key, text);
            samples[text] = found.has_value();
            if (found) variants_.insert(*found);
        }
        // Parts of a record or of a text that rc computes with.
        if (known->form != nvram::Form::Flag && known->form != nvram::Form::Choice) {
            bool all_kept = true;
            for (const std::string& text : neighbours(own)) {
                const std::optional<std::string> found = line_with(key, text);
                if (found) variants_.insert(*found);
                all_kept = all_kept && found;
            }
            if (!all_kept && known->record != nullptr) return add_term(key, "?");
        }
        add_condition(key, samples, known->form);
    }

    // The line with another text in a field of the same record.
    std::optional<std::string> line_with_field(ValuePart field, const std::string& text) const {
        return line_with(witness_.key, with_part(marked_, field, text).value());
    }

    void mark_field(const nvram::KnownSetting& known, size_t index) {
        const ValuePart span = field_beside_mark(marked_, *known.record, index);
        if (span.size == std::string::npos) return;
        const std::string token = token_of(others_.size(), known.record->fields[index].form);
        const std::optional<std::string> marked = line_with_field(span, token);
        if (!marked || !contains(*marked, token)) return;
        marked_ = with_part(marked_, span, token);
        change_setting(world_, witness_.key, value());
        line_ = *marked;
        others_[token] = std::string(":") + known.record->fields[index].name;
    }

    void try_field(const nvram::KnownSetting& known, size_t index) {
        const nvram::Field& field = known.record->fields[index];
        const std::string name = std::string(":") + field.name;
        const ValuePart span = field_beside_mark(marked_, *known.record, index);
        if (span.size == std::string::npos) return;
        const std::string own = value().substr(span.at, span.size);
        Samples samples = {{own, true}};
        std::vector<std::string> texts = values_to_try(field.form, field.choices, own);
        if (is_marked(name)) texts = {"", own};
        for (const std::string& text : texts) {
            const std::optional<std::string> found = line_with_field(span, text);
            samples[text] = found.has_value();
            if (found && !is_marked(name)) variants_.insert(*found);
        }
        // With 0, which some lists have for none, words in front of the text may be missing.
        only_last_option_ = true;
        const std::optional<std::string> none = line_with_field(span, "0");
        only_last_option_ = false;
        if (none && is_marked(name) && *none != line_with_text(own, "0")) variants_.insert(*none);
        if (!none && is_marked(name) && samples.at("")) return add_term(name, "!0");
        // Words that rc writes as others.
        for (const std::string_view word : nvram::words_of(field.choices)) {
            const std::optional<std::string> found = line_with_field(span, std::string(word));
            if (found && is_marked(name) && !contains(*found, word)) variants_.insert(*found);
        }
        if (field.form != nvram::Form::Choice && !is_marked(name))
            for (const std::string& text : neighbours(own))
                if (const std::optional<std::string> found = line_with_field(span, text))
                    variants_.insert(*found);
        add_condition(name, samples, field.form);
    }

    // Other records of the list, which some lines hold too.
    void try_neighbours() {
        const nvram::KnownSetting* const known = nvram::find_known(witness_.key);
        if (known == nullptr || known->record == nullptr || known->record->between == '\0') return;
        const std::string separator(1, known->record->between);
        const ValuePart whole = record_of_mark(marked_, *known->record);
        std::string other = value().substr(whole.at, whole.size);
        const size_t mark = other.find(marked_.text);
        if (mark == std::string::npos) return;
        other.replace(mark, marked_.text.size(), "Qzz");
        std::string first = value();
        const std::string last = first.substr(0, whole.at + whole.size) + separator + other;
        first.insert(whole.at, other + separator);
        for (const std::string& list : {first, last}) {
            const std::optional<std::string> found = line_with(witness_.key, list);
            if (found) variants_.insert(*found);
        }
    }

    // A line may hold the text twice, once up to its last dot.
    void try_part() {
        if (line_.find(sink_text) == line_.rfind(sink_text) || contains(carried_, ".")) return;
        std::string whole = value();
        carried_ = witness_.carried + ".Qzz";
        whole.replace(whole.find(witness_.carried), witness_.carried.size(), carried_);
        const std::optional<std::string> found = line_with(witness_.key, whole);
        carried_ = witness_.carried;
        if (found) line_ = generalised_words(line_, *found);
    }

    // How many characters of another text in place of the carried one rc writes into the line; 0 if
    // it does not write it.
    size_t kept_of(const std::string& text) const {
        std::string whole = value();
        whole.replace(whole.find(witness_.carried), witness_.carried.size(), text);
        World world = copy_of(world_);
        change_setting(world, witness_.key, whole);
        size_t kept = 0;
        for (const World& state : {world, with_wan_up(world)}) {
            for_each_output(make_plan(state, witness_.words),
                            [&](const std::string& place, std::string_view line) {
                                if (place != witness_.place) return;
                                for (size_t size = text.size(); size > kept; size--)
                                    if (is_line_of(line_, text.substr(0, size), line)) kept = size;
                            });
        }
        return kept;
    }

    // Texts that rc takes only from some length on, cuts, or takes for something else if they start
    // with a digit.
    void try_lengths() {
        constexpr size_t shortest = 18;
        constexpr size_t longest = 200;
        if (!witness_.whole || !contains(value(), witness_.carried)) return;
        const auto text = [](size_t length) { return "Z" + std::string(length - 1, 'q'); };
        size_t least = 1;
        while (least < shortest && kept_of(text(least)) != least) least++;
        if (least == shortest) return;
        if (least > 1) add_term(">", std::to_string(least));
        const size_t kept = kept_of(text(longest));
        if (kept > 0 && kept < longest) add_term("<", std::to_string(kept));
        std::string starts;
        for (const char digit : std::string_view("0123456789"))
            if (kept_of(digit + text(least)) < std::min(least + 1, kept)) starts += digit;
        if (!starts.empty()) add_term("!", starts);
    }

    // Files that are there or not.
    void try_files() {
        for (const Input& input : make_plan(world_, witness_.words).after.inputs) {
            if (input.kind != Input::Kind::File || input.name.starts_with("/proc/")) continue;
            World world = copy_of(world_);
            if (world.get(input.name) != nullptr)
                world.files.erase(input.name);
            else
                world.put(input.name, "");
            const std::optional<std::string> found = line_in(world);
            if (found) variants_.insert(*found);
        }
    }

    void try_addresses() {
        std::set<std::string> names;
        for (const auto& [name, interface] : world_.interfaces) names.insert(name);
        for (const char* key : {"wan_ifname", "wan_phy_ifname", "lan_if"})
            names.insert(
                value_of_input(world_, {.kind = Input::Kind::Setting, .name = key}).value_or(""));
        for (const std::string& name : names) {
            World world = copy_of(world_);
            world.interfaces[name].address = "198.51.100.77";
            world.interfaces[name].mtu -= 7;
            const std::optional<std::string> found = line_in(world);
            if (found) variants_.insert(*found);
        }
    }
};

}  // namespace

SinkContext context_of(const SinkWitness& witness) {
    return Search(witness).run();
}
