// Finds the needed restarts by comparing each one's effects on a router booted with A and on one
// booted with B.

#include "plan/diff/restarts.h"

#include <algorithm>
#include <map>
#include <span>

#include "plan/diff/cover.h"
#include "plan/diff/running.h"
#include "plan/router/plan.h"
#include "plan/router/shell_effects.h"
#include "rc/apps.h"

namespace {

using Words = std::vector<std::string>;

// The actions to choose from, in the boot's order: the applications, the Internet side, its
// services. A group runs its applications one after the other.
struct Candidate {
    Words words;
    bool group = false;
    bool before_wan = false;
};

std::vector<Candidate> all_candidates() {
    std::vector<Candidate> candidates = {{.words = {"restart"}, .group = true, .before_wan = true}};
    for (const rc_app* app = rc_apps; app->name; app++)
        candidates.push_back({.words = {app->name, "restart"}, .before_wan = true});
    candidates.push_back({.words = {"wan", "restart"}});
    candidates.push_back({.words = {"service", "restart"}, .group = true});
    for (const rc_app* app = rc_services; app->name; app++)
        candidates.push_back({.words = {app->name, "restart"}});
    return candidates;
}

Words call_of(const Words& words) {
    Words all = {"rc"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

// Events without a lasting effect: output, pauses, the run's own environment, and the markers that
// keep two runs apart.
bool is_transient(const Event& event) {
    for (const char* verb : {"print", "error", "exit", "pause", "note", "pipe", "environment"})
        if (event.verb == verb) return true;
    return event.text.find("/var/run/rc.") != std::string::npos ||
           event.text.find("/var/run/my_pid") != std::string::npos;
}

enum class Nested { Too, Not };

Transcript lasting(const Transcript& transcript, Nested nested = Nested::Too) {
    Transcript left;
    for (const Event& event : transcript.events()) {
        if (is_transient(event) || (event.depth > 0 && nested == Nested::Not)) continue;
        left.depth = event.depth;
        if (event.has_body)
            left.add_with_body(event.verb, event.text, event.body);
        else
            left.add(event.verb, event.text);
    }
    return left;
}

// Whether all events of the one are also in the other, in the same order.
bool contains_all(const Transcript& other, const Transcript& one) {
    auto next = one.events().begin();
    for (const Event& event : other.events()) {
        if (next == one.events().end()) return true;
        if (event.verb == next->verb && event.text == next->text && event.body == next->body)
            ++next;
    }
    return next == one.events().end();
}

void add_event(ChangedEffects& effects, const Event& event) {
    if (event.verb == "set")
        effects.stored.insert(event.text.substr(0, event.text.find('=')));
    else if (event.verb == "write" || event.verb == "append" || event.verb == "remove")
        effects.files.insert(event.text);
    else
        effects.commands = true;
}

ChangedEffects effects_of(const Difference& difference) {
    ChangedEffects effects;
    for (const EffectChange& change : difference.changes) {
        for (const Origin& place : change.a) add_event(effects, difference.a.events()[place.event]);
        for (const Origin& place : change.b) add_event(effects, difference.b.events()[place.event]);
        effects.because.insert(change.because.begin(), change.because.end());
    }
    return effects;
}

void add_all(ChangedEffects& effects, const ChangedEffects& more) {
    effects.because.insert(more.because.begin(), more.because.end());
    effects.files.insert(more.files.begin(), more.files.end());
    effects.stored.insert(more.stored.begin(), more.stored.end());
    effects.commands |= more.commands;
}

std::optional<std::string> setting_in(const World& world, const std::string& key) {
    return value_of_input(world, {.kind = Input::Kind::Setting, .name = key});
}

// Keeps the files and settings that really differ on a router with B. If none does, the change is
// in the commands that write them: they run at another place, or not at all.
void keep_what_changes(ChangedEffects& effects, const World& a, const World& b) {
    if (effects.because.empty()) return;
    std::erase_if(effects.files, [&](const std::string& path) {
        return file_content(a, path) == file_content(b, path);
    });
    std::erase_if(effects.stored,
                  [&](const std::string& key) { return setting_in(a, key) == setting_in(b, key); });
    effects.commands |= effects.files.empty() && effects.stored.empty();
}

// Whether a run stores this setting.
bool stores(const Transcript& transcript, const std::string& key) {
    return std::ranges::any_of(transcript.events(), [&](const Event& event) {
        return event.verb == "set" && event.text.starts_with(key + "=");
    });
}

class Adviser {
  public:
    Adviser(const Settings& a, const Settings& b, const std::optional<World>& stated)
        : a_(a), b_(b), stated_(stated), boot_a_(boot(world(a), a)), boot_b_(boot(world(b), b)) {}

    Advice advise(const Progress& progress);

  private:
    const Settings& a_;
    const Settings& b_;
    const std::optional<World>& stated_;
    const std::vector<Candidate> candidates_ = all_candidates();
    Boot boot_a_;
    Boot boot_b_;
    // By candidate. Groups only have the effects of their applications.
    std::vector<Run> runs_;
    std::vector<ChangedEffects> effects_;
    std::vector<Choice> choices_;
    uint32_t wanted_ = 0;
    ChangedEffects at_boot_;

    World world(const Settings& settings) const {
        return stated_ ? *stated_ : world_in_use(settings);
    }
    World changed_to(const Settings& settings) const;
    Played play(const Settings& settings) const;
    Played play_stops(const Settings& settings) const;
    void compare(const Progress& progress);
    void add_overwritten();
    void find_covers();
    std::vector<StopBefore> stops_before() const;
    uint32_t nested(size_t candidate) const;
    std::vector<Restart> restarts(Prefer prefer) const;
    Restart restart(size_t candidate) const;
    void put_late_ones_last(std::vector<size_t>& chosen) const;
};

// The boot, then each application on the booted router.
Played Adviser::play(const Settings& settings) const {
    Boot booted = boot(world(settings), settings);
    Played played = {.parts = {lasting(booted.init)},
                     .settings_read = std::move(booted.settings_read)};
    for (const Candidate& candidate : candidates_) {
        if (candidate.group) continue;
        Run run = run_on(booted.router, call_of(candidate.words));
        played.parts.push_back(lasting(run.transcript));
        played.settings_read.merge(run.settings_read);
    }
    return played;
}

// The router that runs with A, after its settings were changed to these.
World Adviser::changed_to(const Settings& settings) const {
    World router = copy_of(boot_a_.router);
    for (const SettingChange& change : changed_settings(a_, settings))
        change_setting(router, change.key, change.b);
    return router;
}

Played Adviser::play_stops(const Settings& settings) const {
    const World router = changed_to(settings);
    Played played;
    for (const Candidate& candidate : candidates_) {
        if (candidate.group) continue;
        Run run = run_on(router, {"rc", candidate.words[0], "stop"});
        // Nested runs stop other applications, which are separate parts.
        played.parts.push_back(lasting(run.transcript, Nested::Not));
        played.settings_read.merge(run.settings_read);
    }
    return played;
}

// A restart stops an application with B's settings, so things known only from A's settings would
// remain.
std::vector<StopBefore> Adviser::stops_before() const {
    const std::vector<Difference> parts =
        differences(a_, b_, [this](const Settings& settings) { return play_stops(settings); });
    std::vector<StopBefore> stops;
    size_t part = 0;
    for (const Candidate& candidate : candidates_) {
        if (candidate.group) continue;
        const Difference& difference = parts[part++];
        StopBefore stop = {.words = {candidate.words[0], "stop"}, .because = {}, .only_with_a = {}};
        for (const EffectChange& change : difference.changes) {
            if (change.within || change.a.empty()) continue;
            stop.because.insert(change.because.begin(), change.because.end());
            for (const Origin& place : change.a)
                if (place.line == 0)
                    stop.only_with_a.push_back(difference.a.events()[place.event].text);
        }
        if (!stop.because.empty()) stops.push_back(std::move(stop));
    }
    return stops;
}

void Adviser::compare(const Progress& progress) {
    const std::vector<Difference> parts = differences(
        a_, b_, [this](const Settings& settings) { return play(settings); }, progress);
    at_boot_ = effects_of(parts[0]);
    keep_what_changes(at_boot_, boot_a_.router, boot_b_.router);
    size_t part = 1;
    for (const Candidate& candidate : candidates_) {
        const Words call = call_of(candidate.words);
        runs_.push_back(run_on(boot_b_.router, call));
        effects_.push_back(candidate.group ? ChangedEffects{} : effects_of(parts[part++]));
        keep_what_changes(effects_.back(), run_on(boot_a_.router, call).after, runs_.back().after);
    }
}

// A changed setting that the boot overwrites: the settings hold B's own value until the action that
// stores it has run.
void Adviser::add_overwritten() {
    for (const SettingChange& change : changed_settings(a_, b_)) {
        if (setting_in(boot_b_.router, change.key) == change.b) continue;
        const ChangedEffects stored = {
            .because = {change.key}, .files = {}, .stored = {change.key}};
        if (stores(boot_b_.init, change.key)) add_all(at_boot_, stored);
        for (size_t i = 0; i < candidates_.size(); i++)
            if (!candidates_[i].group && stores(runs_[i].transcript, change.key))
                add_all(effects_[i], stored);
    }
}

// The things covered by the nested runs of a run.
uint32_t Adviser::nested(size_t candidate) const {
    uint32_t covers = 0;
    for (const Event& event : runs_[candidate].transcript.events()) {
        if (event.verb != "run") continue;
        const Words words = nested_words(event.text);
        for (size_t i = 0; !words.empty() && i < candidates_.size(); i++)
            if (i != candidate &&
                std::ranges::equal(std::span(words).subspan(1), candidates_[i].words))
                covers |= choices_[i].covers;
    }
    return covers;
}

void Adviser::find_covers() {
    std::vector<Transcript> left;
    for (const Run& run : runs_) left.push_back(lasting(run.transcript));
    for (size_t i = 0; i < candidates_.size(); i++)
        if (!effects_[i].because.empty()) wanted_ |= uint32_t{1} << i;
    for (size_t i = 0; i < candidates_.size(); i++) {
        const Totals totals = runs_[i].transcript.totals();
        Choice choice = {.commands = totals.commands, .microseconds = totals.microseconds};
        for (size_t k = 0; k < candidates_.size(); k++)
            if ((wanted_ >> k & 1) != 0 && contains_all(left[i], left[k]))
                choice.covers |= uint32_t{1} << k;
        choices_.push_back(choice);
    }
    for (size_t i = 0; i < candidates_.size(); i++) choices_[i].covers |= nested(i);
}

Restart Adviser::restart(size_t candidate) const {
    Restart restart = {.words = candidates_[candidate].words,
                       .covers = {},
                       .effects = {},
                       .totals = runs_[candidate].transcript.totals()};
    for (size_t i = 0; i < candidates_.size(); i++) {
        if ((choices_[candidate].covers >> i & 1) == 0) continue;
        restart.covers.push_back(candidates_[i].words[0]);
        add_all(restart.effects, effects_[i]);
    }
    return restart;
}

// An application may depend on results of the Internet side or its services, such as name servers
// or the interface's name. Such an application runs after them.
void Adviser::put_late_ones_last(std::vector<size_t>& chosen) const {
    const World early = changed_to(b_);
    World late = early;
    for (const size_t candidate : chosen)
        if (!candidates_[candidate].before_wan)
            late = run_on(late, call_of(candidates_[candidate].words)).after;
    // The link comes up again.
    const World start = world(b_);
    for (const auto& [path, content] : start.files)
        if (!late.get(path)) late.put(path, *content);
    std::stable_partition(chosen.begin(), chosen.end(), [&](size_t candidate) {
        if (!candidates_[candidate].before_wan) return true;
        const Words call = call_of(candidates_[candidate].words);
        return same_events(lasting(run_on(early, call).transcript),
                           lasting(run_on(late, call).transcript));
    });
}

std::vector<Restart> Adviser::restarts(Prefer prefer) const {
    std::vector<size_t> chosen = best_cover(wanted_, choices_, prefer);
    if (!chosen.empty()) put_late_ones_last(chosen);
    std::vector<Restart> list;
    list.reserve(chosen.size());
    for (const size_t candidate : chosen) list.push_back(restart(candidate));
    return list;
}

Advice Adviser::advise(const Progress& progress) {
    compare(progress);
    add_overwritten();
    find_covers();
    Advice advice = {.before = stops_before(),
                     .fewest = restarts(Prefer::FewestChoices),
                     .gentlest = restarts(Prefer::FewestCommands),
                     .at_boot = at_boot_,
                     .unused = {}};
    if (std::ranges::equal(advice.fewest, advice.gentlest, {}, &Restart::words, &Restart::words))
        advice.gentlest.clear();
    ChangedEffects all = at_boot_;
    for (const ChangedEffects& effects : effects_) add_all(all, effects);
    for (const SettingChange& change : changed_settings(a_, b_))
        if (!all.because.contains(change.key)) advice.unused.push_back(change.key);
    return advice;
}

}  // namespace

Advice needed_restarts(const Settings& a, const Settings& b, const std::optional<World>& stated,
                       const Progress& progress) {
    return Adviser(a, b, stated).advise(progress);
}

bool differs(const Advice& advice) {
    return !advice.fewest.empty() || !advice.at_boot.because.empty();
}

std::vector<std::string> only_at_boot(const Advice& advice) {
    std::vector<std::string> only;
    for (const std::string& key : advice.at_boot.because)
        if (std::ranges::none_of(advice.fewest, [&](const Restart& restart) {
                return restart.effects.because.contains(key);
            }))
            only.push_back(key);
    return only;
}
