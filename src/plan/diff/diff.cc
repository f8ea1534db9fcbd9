// Differences in effect between two settings files and their causes, found by playing again with
// one changed setting at a time.

#include "plan/diff/diff.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace {

using Keys = std::set<std::string>;

// A line that only one of the two transcripts has.
struct LostLine {
    size_t part;
    bool of_b;
    Origin place;  // the line is numbered as in event_lines()

    bool operator<(const LostLine& other) const {
        return std::tie(part, of_b, place.event, place.line) <
               std::tie(other.part, other.of_b, other.place.event, other.place.line);
    }
};
using Lines = std::set<LostLine>;

void add_lost(Lines& lines, size_t part, bool of_b, const KeptLines& kept) {
    for (size_t event = 0; event < kept.size(); event++)
        for (size_t line = 0; line < kept[event].size(); line++)
            if (!kept[event][line])
                lines.insert({.part = part, .of_b = of_b, .place = {.event = event, .line = line}});
}

// Finds the settings behind each line.
class Causes {
  public:
    Causes(const Settings& a, const Settings& b, const PlayWith& play)
        : a_(a), b_(b), play_(play), played_a_(play(a)), played_b_(play(b)) {
        for (SettingChange& change : changed_settings(a, b)) keys_.push_back(change.key);
        for (size_t part = 0; part < played_a_.parts.size(); part++) {
            const Alignment alignment = align(played_a_.parts[part], played_b_.parts[part]);
            add_lost(lines_, part, false, alignment.a);
            add_lost(lines_, part, true, alignment.b);
        }
    }

    void find(const Progress& progress);

    const Played& played_a() const { return played_a_; }
    const Played& played_b() const { return played_b_; }
    const Keys& of(const LostLine& line) { return because_[line]; }

  private:
    const Settings& a_;
    const Settings& b_;
    const PlayWith& play_;
    Played played_a_;
    Played played_b_;
    std::vector<std::string> keys_;
    Lines lines_;
    std::map<LostLine, Keys> because_;
    std::map<Keys, Lines> tried_;

    const Lines& with(const Keys& keys);
    Lines shown(const Played& tried) const;
    Keys smallest_group(const LostLine& line);
    void find_single(const std::string& key);
    void find_groups();
};

// The lines for which this play gives B's result: a line of A is missing, or a line of B is
// present.
Lines Causes::shown(const Played& tried) const {
    Lines lines;
    for (size_t part = 0; part < tried.parts.size(); part++) {
        const Transcript& played = tried.parts[part];
        if (same_events(played, played_a_.parts[part])) continue;
        const KeptLines of_a = align(played_a_.parts[part], played).a;
        const KeptLines of_b = align(played, played_b_.parts[part]).b;
        const auto from = lines_.lower_bound({.part = part, .of_b = false, .place = {}});
        for (auto line = from; line != lines_.end() && line->part == part; ++line) {
            const auto& [event, number] = line->place;
            if (line->of_b ? of_b[event][number] : !of_a[event][number]) lines.insert(*line);
        }
    }
    return lines;
}

// The lines that differ if only these settings change from A to B.
const Lines& Causes::with(const Keys& keys) {
    const auto [slot, is_new] = tried_.try_emplace(keys);
    if (!is_new) return slot->second;
    Settings mixed = a_;
    for (const std::string& key : keys) {
        mixed.erase(key);
        const auto found = b_.find(key);
        if (found != b_.end()) mixed.insert(*found);
    }
    return slot->second = shown(play_(mixed));
}

void Causes::find_single(const std::string& key) {
    // A setting that was not read makes no difference.
    if (played_a_.settings_read.contains(key))
        for (const LostLine& line : with({key})) because_[line].insert(key);
    if (!played_b_.settings_read.contains(key)) return;
    Keys others(keys_.begin(), keys_.end());
    others.erase(key);
    const Lines& left = with(others);
    for (const LostLine& line : lines_)
        if (!left.contains(line)) because_[line].insert(key);
}

Keys Causes::smallest_group(const LostLine& line) {
    Keys group(keys_.begin(), keys_.end());
    for (const std::string& key : keys_) {
        Keys fewer = group;
        fewer.erase(key);
        if (with(fewer).contains(line)) group = std::move(fewer);
    }
    return group;
}

// Finds the causes of lines that change only if several settings change together.
void Causes::find_groups() {
    std::set<Keys> known;
    for (const LostLine& line : lines_) {
        if (!because_[line].empty()) continue;
        const auto fits = std::ranges::find_if(
            known, [&](const Keys& group) { return with(group).contains(line); });
        because_[line] = fits == known.end() ? smallest_group(line) : *fits;
        known.insert(because_[line]);
    }
}

void Causes::find(const Progress& progress) {
    if (lines_.empty()) return;
    for (size_t done = 0; done < keys_.size(); done++) {
        if (progress) progress(done, keys_.size());
        find_single(keys_[done]);
    }
    find_groups();
}

// The unit of a change: a line of a body, or an event with all its lines.
struct Unit {
    std::vector<Origin> lines;
    Keys because;
    std::string kind;
};
using Units = std::vector<Unit>;

EffectChange change_of(std::optional<SharedEvent> within, const Keys& because) {
    EffectChange change;
    change.within = within;
    change.because.assign(because.begin(), because.end());
    return change;
}

void append(std::vector<Origin>& lines, const Unit& unit) {
    lines.insert(lines.end(), unit.lines.begin(), unit.lines.end());
}

// If both sides have the same sequence of kinds, corresponding units share their causes.
bool join_reasons(Units& a, Units& b) {
    if (!std::ranges::equal(a, b, {}, &Unit::kind, &Unit::kind)) return false;
    for (size_t i = 0; i < a.size(); i++) {
        a[i].because.insert(b[i].because.begin(), b[i].because.end());
        b[i].because = a[i].because;
    }
    return true;
}

// Adds the changes of one place; a new change begins where the causes differ.
void add_changes(std::vector<EffectChange>& changes, std::optional<SharedEvent> within, Units a,
                 Units b) {
    if (a.empty() && b.empty()) return;
    const size_t first = changes.size();
    const auto add = [&](const Unit& unit, std::vector<Origin> EffectChange::*side) {
        const EffectChange fresh = change_of(within, unit.because);
        if (changes.size() == first || changes.back().because != fresh.because)
            changes.push_back(fresh);
        append(changes.back().*side, unit);
    };
    if (join_reasons(a, b)) {
        for (size_t i = 0; i < a.size(); i++) {
            add(a[i], &EffectChange::a);
            add(b[i], &EffectChange::b);
        }
        return;
    }
    for (const Unit& unit : a) add(unit, &EffectChange::a);
    for (const Unit& unit : b) add(unit, &EffectChange::b);
}

// Collects the changes of one part.
class Collector {
  public:
    Collector(Causes& causes, size_t part)
        : causes_(causes),
          part_(part),
          difference_{.a = causes.played_a().parts[part],
                      .b = causes.played_b().parts[part],
                      .shared = {},
                      .changes = {}} {}

    Difference whole();

  private:
    Causes& causes_;
    size_t part_;
    Difference difference_;

    Unit unit_of(bool of_b, size_t event, const std::vector<size_t>& lines, std::string kind);
    Units events(bool of_b, const Transcript& transcript, size_t from, size_t to);
    void body(const Alignment& alignment, const SharedEvent& event);
};

Unit Collector::unit_of(bool of_b, size_t event, const std::vector<size_t>& lines,
                        std::string kind) {
    Unit unit = {.lines = {}, .because = {}, .kind = std::move(kind)};
    for (const size_t line : lines) {
        const Origin place = {.event = event, .line = line};
        unit.lines.push_back(place);
        const Keys& keys = causes_.of({.part = part_, .of_b = of_b, .place = place});
        unit.because.insert(keys.begin(), keys.end());
    }
    return unit;
}

Units Collector::events(bool of_b, const Transcript& transcript, size_t from, size_t to) {
    Units units;
    for (size_t i = from; i < to; i++) {
        const Event& event = transcript.events()[i];
        std::vector<size_t> lines;
        for (size_t line = 0; line < event_lines(event).size(); line++) lines.push_back(line);
        units.push_back(unit_of(of_b, i, lines, std::to_string(event.depth) + event.verb));
    }
    return units;
}

// Adds both sides' lines between those that they share.
void Collector::body(const Alignment& alignment, const SharedEvent& event) {
    const std::vector<bool>& kept_a = alignment.a[event.a];
    const std::vector<bool>& kept_b = alignment.b[event.b];
    size_t a = 0;
    size_t b = 0;
    while (a < kept_a.size() || b < kept_b.size()) {
        Units lost;
        Units added;
        for (; a < kept_a.size() && !kept_a[a]; a++)
            lost.push_back(unit_of(false, event.a, {a}, ""));
        for (; b < kept_b.size() && !kept_b[b]; b++)
            added.push_back(unit_of(true, event.b, {b}, ""));
        add_changes(difference_.changes, event, std::move(lost), std::move(added));
        a++;
        b++;
    }
}

Difference Collector::whole() {
    const Alignment alignment = align(difference_.a, difference_.b);
    difference_.shared = alignment.shared;
    SharedEvent next;
    const auto between = [&](size_t end_a, size_t end_b) {
        add_changes(difference_.changes, {}, events(false, difference_.a, next.a, end_a),
                    events(true, difference_.b, next.b, end_b));
    };
    for (const SharedEvent& event : alignment.shared) {
        between(event.a, event.b);
        body(alignment, event);
        next = {.a = event.a + 1, .b = event.b + 1};
    }
    between(difference_.a.events().size(), difference_.b.events().size());
    return std::move(difference_);
}

}  // namespace

std::vector<SettingChange> changed_settings(const Settings& a, const Settings& b) {
    std::map<std::string, SettingChange> changes;
    for (const auto& [key, value] : a) changes[key].a = value;
    for (const auto& [key, value] : b) changes[key].b = value;
    std::vector<SettingChange> list;
    for (auto& [key, change] : changes) {
        if (change.a == change.b) continue;
        change.key = key;
        list.push_back(std::move(change));
    }
    return list;
}

std::vector<Difference> differences(const Settings& a, const Settings& b, const PlayWith& play,
                                    const Progress& progress) {
    Causes causes(a, b, play);
    causes.find(progress);
    std::vector<Difference> list;
    for (size_t part = 0; part < causes.played_a().parts.size(); part++)
        list.push_back(Collector(causes, part).whole());
    return list;
}
