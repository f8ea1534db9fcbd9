// What a sink's line says in general.

#include "plan/trace/sink_context.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "core/text.h"
#include "plan/router/lines.h"
#include "settings/records.h"
#include "settings/sinks.h"
#include "settings/table.h"

namespace {

using nvram::sink_other;
using nvram::sink_text;
using nvram::sink_unknown;

// A choice with more words is tried with these many.
constexpr size_t most_words = 14;

// Letters that no line of rc's holds; short, since some fields of records are. In an address's
// place with dots, so that a part of it is not taken for the whole.
std::string token_of(size_t number, nvram::Form form) {
    const std::string token = {'Q', static_cast<char>('a' + number / 26 % 26),
                               static_cast<char>('a' + number % 26)};
    const bool address = form == nvram::Form::Address || form == nvram::Form::Quad;
    return address ? token + ".1.2.3" : token;
}

bool is_name_character(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.';
}

std::vector<std::string_view> split_words(std::string_view text) {
    std::vector<std::string_view> words;
    while (true) {
        const size_t end = text.find(' ');
        words.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return words;
        text.remove_prefix(end + 1);
    }
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (size_t i = 0; i < words.size(); i++) text += (i > 0 ? " " : "") + words[i];
    return text;
}

// Whether a word stands for the other, \x03 standing for anything.
bool stands_for(std::string_view word, std::string_view other) {
    const size_t place = word.find(sink_unknown);
    if (place == std::string_view::npos) return word == other;
    const std::string_view begin = word.substr(0, place);
    const std::string_view end = word.substr(word.rfind(sink_unknown) + 1);
    return other.size() >= begin.size() + end.size() && other.starts_with(begin) &&
           other.ends_with(end);
}

// What both words begin and end with, never half a number or name.
std::string merged_word(std::string_view word, std::string_view other) {
    const size_t shorter = std::min(word.size(), other.size());
    size_t begin = 0;
    while (begin < shorter && word[begin] == other[begin]) begin++;
    size_t end = 0;
    while (end < shorter - begin && word[word.size() - 1 - end] == other[other.size() - 1 - end])
        end++;
    while (begin > 0 && is_name_character(word[begin - 1])) begin--;
    while (end > 0 && is_name_character(word[word.size() - end])) end--;
    return std::string(word.substr(0, begin)) + sink_unknown +
           std::string(word.substr(word.size() - end));
}

std::string generalised_part(std::string_view part, std::string_view other) {
    const std::vector<std::string_view> words = split_words(part);
    const std::vector<std::string_view> others = split_words(other);
    std::vector<std::string> result;
    if (words.size() == others.size()) {
        for (size_t i = 0; i < words.size(); i++)
            result.push_back(stands_for(words[i], others[i]) ? std::string(words[i])
                                                             : merged_word(words[i], others[i]));
        return joined(result);
    }
    const size_t shorter = std::min(words.size(), others.size());
    size_t begin = 0;
    while (begin < shorter && stands_for(words[begin], others[begin])) begin++;
    size_t end = 0;
    while (end < shorter - begin &&
           stands_for(words[words.size() - 1 - end], others[others.size() - 1 - end]))
        end++;
    for (size_t i = 0; i < begin; i++) result.emplace_back(words[i]);
    const auto middle = [&](const std::vector<std::string_view>& all) {
        return joined({all.begin() + static_cast<long>(begin), all.end() - static_cast<long>(end)});
    };
    result.push_back(merged_word(middle(words), middle(others)));
    for (size_t i = words.size() - end; i < words.size(); i++) result.emplace_back(words[i]);
    return joined(result);
}

// The longer the beginning and the end that two texts share, the more alike they are.
size_t likeness(std::string_view one, std::string_view other) {
    const size_t shorter = std::min(one.size(), other.size());
    size_t begin = 0;
    while (begin < shorter && one[begin] == other[begin]) begin++;
    size_t end = 0;
    while (end < shorter - begin && one[one.size() - 1 - end] == other[other.size() - 1 - end])
        end++;
    return begin + end;
}

// Values, and whether rc still writes the line with each.
using Samples = std::map<std::string, bool>;

bool fits(const Samples& samples, const std::function<bool(const std::string&)>& holds) {
    return std::ranges::all_of(samples, [&](const auto& s) { return holds(s.first) == s.second; });
}

// The shortest condition that tells the values apart, without the key; "" if rc writes the line
// with each, nullopt if no condition does.
std::optional<std::string> condition_of(const Samples& samples, nvram::Form form) {
    const bool number = form == nvram::Form::Number;
    const bool words_count = number || form == nvram::Form::Choice || form == nvram::Form::Flag;
    constexpr const char* digits = "0123456789";
    if (fits(samples, [](const std::string&) { return true; })) return "";
    if (fits(samples, [](const std::string& v) { return !v.empty(); })) return "+";
    if (fits(samples, [](const std::string& v) { return v.empty(); })) return "-";
    if (number) {
        if (fits(samples, [](const std::string& v) { return leading_int(v) != 0; })) return "#";
        if (fits(samples, [&](const std::string& v) {
                return contains(digits, v.substr(0, 1)) && !v.empty();
            }))
            return std::string("^") + digits;
    }
    if (!words_count) return std::nullopt;
    std::string with;
    std::string without;
    std::string words;
    for (const auto& [value, kept] : samples) {
        if (kept) words += (words.empty() ? "" : ",") + value;
        if (value.empty() || contains(kept ? with : without, {value.data(), 1})) continue;
        (kept ? with : without) += value[0];
    }
    const auto begins = [](const std::string& set, const std::string& v) {
        return !v.empty() && contains(set, {v.data(), 1});
    };
    if (fits(samples, [&](const std::string& v) { return begins(with, v); })) return "^" + with;
    if (fits(samples, [&](const std::string& v) { return !begins(without, v); }))
        return "!" + without;
    const auto empty = samples.find("");
    if (words.empty() || (empty != samples.end() && empty->second)) return std::nullopt;
    return "=" + words;
}

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
        try_lengths();
        for (const std::string& variant : variants_) line_ = generalised(line_, variant);
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
        return {.line = line_, .when = when_};
    }

  private:
    const SinkWitness& witness_;
    World world_;
    std::string line_;
    std::string before_ = witness_.before;
    std::string behind_ = witness_.behind;
    // Other settings' values, or other fields', that stand in the line.
    std::map<std::string, std::string> others_;
    std::set<std::string> variants_;
    std::string when_;
    // Of the value, what the line holds.
    std::string carried_ = witness_.carried;

    std::string value() const { return before_ + witness_.text + behind_; }

    void replace_all(const std::string& text, const std::string& by) {
        for (size_t at = line_.find(text); at != std::string::npos;
             at = line_.find(text, at + by.size()))
            line_.replace(at, text.size(), by);
    }

    // The line that takes this one's place in a changed world.
    std::optional<std::string> line_in(const World& world) const {
        std::optional<std::string> best;
        for_each_output(make_plan(world, witness_.words),
                        [&](const std::string& place, std::string_view text) {
                            if (place != witness_.place || !contains(text, carried_)) return;
                            std::string line(text);
                            for (char& c : line)
                                if (c == '\x01') c = ' ';
                            for (size_t at = line.find(carried_); at != std::string::npos;
                                 at = line.find(carried_, at))
                                line.replace(at, carried_.size(), 1, sink_text);
                            if (!same_use(line)) return;
                            if (!best || likeness(line, line_) > likeness(*best, line_))
                                best = line;
                        });
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
        for (const char* text : {"Qzz", "", "0", "1"}) {
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

    // In a shell's line the same program, with the same options and chains in front of the text; in
    // a file the same name.
    bool same_use(const std::string& line) const {
        if (witness_.shell) return signature(line) == signature(line_);
        return name_of(line) == name_of(line_);
    }

    static std::string_view name_of(std::string_view line) {
        const size_t end = line.find('=');
        return end == std::string_view::npos ? std::string_view() : line.substr(0, end);
    }

    static std::string signature(std::string_view line) {
        std::string result;
        for (const std::string_view word : split_words(line.substr(0, line.find(sink_text)))) {
            const bool chain =
                word.size() > 1 && word[0] != 'Q' &&
                word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_") == std::string_view::npos;
            const bool option = word.starts_with('-') &&
                                word.find_first_of("0123456789.") == std::string_view::npos;
            if (!result.empty() && !chain && !option) continue;
            result += word;
            result += ' ';
        }
        return result;
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
        when_ += (when_.empty() ? "" : ";") + name + condition.value_or("?");
    }

    template <class Row>
    static std::vector<std::string> values_of(const Row& row, const std::string& own) {
        std::vector<std::string> values = {"", own};
        const auto add = [&](const std::string& text) { values.push_back(text); };
        if (row.form == nvram::Form::Flag || row.form == nvram::Form::Choice ||
            row.form == nvram::Form::Number) {
            for (const char* text : {"0", "1", "x"}) add(text);
        } else
            add("Qzz");
        if (row.form == nvram::Form::Flag)
            for (const char* text : {"0x", "1x"}) add(text);
        if (row.form == nvram::Form::Address || row.form == nvram::Form::Quad)
            for (const char* text : {"0.0.0.0", "10.20.30.40"}) add(text);
        if (row.form == nvram::Form::Mac) add("02:11:22:33:44:77");
        const std::vector<std::string_view> words = nvram::words_of(row.choices);
        for (size_t i = 0; i < std::min(words.size(), most_words); i++) {
            add(std::string(words[i]));
            add(std::string(words[i]) + "x");
        }
        return values;
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
                std::string expected = line_;
                for (size_t at = expected.find(own); at != std::string::npos;
                     at = expected.find(own, at + text.size()))
                    expected.replace(at, own.size(), text);
                if (found && *found != expected) variants_.insert(*found);
            }
            return add_condition(key, {{own, true}, {"", empty.has_value()}}, nvram::Form::Text);
        }
        Samples samples;
        for (const std::string& text : values_of(*known, own)) {
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
            if (!all_kept && known->record != nullptr) return add_unknown(key);
        }
        add_condition(key, samples, known->form);
    }

    void add_unknown(const std::string& key) { when_ += (when_.empty() ? "" : ";") + key + "?"; }

    // The record that holds the mark.
    struct Entry {
        size_t at;
        std::string text;
    };
    Entry entry(const nvram::Record& record) const {
        const std::string whole = value();
        const size_t start = std::min<size_t>(record.ignored_prefix, whole.size());
        size_t from = start;
        if (record.between != '\0' && !before_.empty()) {
            const size_t separator = before_.rfind(record.between);
            if (separator != std::string::npos && separator + 1 > start) from = separator + 1;
        }
        const size_t end = record.between == '\0'
                               ? whole.size()
                               : std::min(whole.find(record.between, before_.size()), whole.size());
        return {.at = from, .text = whole.substr(from, end - from)};
    }

    // Another field of the marked record: where it stands in the value; size npos if it is not
    // there or holds the mark.
    struct Span {
        size_t at = 0;
        size_t size = std::string::npos;
    };
    Span span_of(const nvram::KnownSetting& known, size_t index) const {
        const Entry whole = entry(*known.record);
        const std::vector<std::string_view> fields = split_fields(*known.record, whole.text);
        if (index >= fields.size()) return {};
        const size_t at = whole.at + static_cast<size_t>(fields[index].data() - whole.text.data());
        const size_t size = fields[index].size();
        if (at <= before_.size() && before_.size() <= at + size) return {};
        return {.at = at, .size = size};
    }

    // The line with another text in a field of the same record; keeps the change if asked to.
    std::optional<std::string> line_with_field(const Span& span, const std::string& text,
                                               bool keep = false) {
        const std::string before = before_;
        const std::string behind = behind_;
        if (span.at < before_.size())
            before_.replace(span.at, span.size, text);
        else
            behind_.replace(span.at - before_.size() - witness_.text.size(), span.size, text);
        std::optional<std::string> found = line_with(witness_.key, value());
        if (keep) return found;
        before_ = before;
        behind_ = behind;
        return found;
    }

    void mark_field(const nvram::KnownSetting& known, size_t index) {
        const Span span = span_of(known, index);
        if (span.size == std::string::npos) return;
        const std::string token = token_of(others_.size(), known.record->fields[index].form);
        const std::optional<std::string> marked = line_with_field(span, token);
        if (!marked || !contains(*marked, token)) return;
        line_with_field(span, token, true);
        change_setting(world_, witness_.key, value());
        line_ = *marked;
        others_[token] = std::string(":") + known.record->fields[index].name;
    }

    void try_field(const nvram::KnownSetting& known, size_t index) {
        const nvram::Field& field = known.record->fields[index];
        const std::string name = std::string(":") + field.name;
        const Span span = span_of(known, index);
        if (span.size == std::string::npos) return;
        const std::string own = value().substr(span.at, span.size);
        Samples samples = {{own, true}};
        std::vector<std::string> texts = values_of(field, own);
        if (is_marked(name)) texts = {"", own};
        for (const std::string& text : texts) {
            const std::optional<std::string> found = line_with_field(span, text);
            samples[text] = found.has_value();
            if (found && !is_marked(name)) variants_.insert(*found);
        }
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
        const Entry whole = entry(*known->record);
        std::string other = whole.text;
        const size_t mark = other.find(witness_.text);
        if (mark == std::string::npos) return;
        other.replace(mark, witness_.text.size(), "Qzz");
        std::string first = value();
        const std::string last = first.substr(0, whole.at + whole.text.size()) + separator + other;
        first.insert(whole.at, other + separator);
        for (const std::string& list : {first, last}) {
            const std::optional<std::string> found = line_with(witness_.key, list);
            if (found) variants_.insert(*found);
        }
    }

    // Texts that rc takes only from some length on.
    void try_lengths() {
        constexpr size_t longest = 18;
        if (witness_.carried != value() || !before_.empty() || !behind_.empty()) return;
        for (size_t length = 1; length < longest; length++) {
            carried_ = "Z" + std::string(length - 1, 'q');
            const bool kept = line_with(witness_.key, carried_).has_value();
            carried_ = witness_.carried;
            if (!kept) continue;
            if (length > 1) when_ += (when_.empty() ? ">" : ";>") + std::to_string(length);
            return;
        }
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

std::string generalised(std::string_view line, std::string_view other) {
    const size_t place = line.find(sink_text);
    const size_t place_of_other = other.find(sink_text);
    if (place == std::string_view::npos || place_of_other == std::string_view::npos)
        return std::string(line);
    const size_t end = line.rfind(sink_text) + 1;
    const size_t end_of_other = other.rfind(sink_text) + 1;
    return generalised_part(line.substr(0, place), other.substr(0, place_of_other)) +
           std::string(line.substr(place, end - place)) +
           generalised_part(line.substr(end), other.substr(end_of_other));
}

void for_each_output(
    const Plan& plan,
    const std::function<void(const std::string& place, std::string_view line)>& use) {
    std::set<std::string> written;
    const auto use_body = [&](const std::string& path, const std::string& body) {
        if (contains(body, std::string_view("\0", 1))) return;
        for (const std::string_view line : body_lines(body)) use(path, line);
    };
    for (const Event& event : plan.after.transcript.events()) {
        const bool file = event.verb == "write" || event.verb == "append";
        if (file) written.insert(event.text);
        if (event.depth > 0) continue;
        if (event.verb == "run" || event.verb == "pipe") use("command", event.text);
        if (file) use_body(event.text, event.body);
    }
    // What shell lines write.
    for (const std::string& path : produced_files(plan))
        if (!written.contains(path) && path != working_copy && path != flash_image)
            use_body(path, *plan.after.world.get(path));
}

Plan play_with(const World& router, const std::vector<std::string>& words, const std::string& key,
               const std::string& value) {
    World world = copy_of(router);
    change_setting(world, key, value);
    return make_plan(world, words);
}

SinkContext context_of(const SinkWitness& witness) {
    return Search(witness).run();
}
