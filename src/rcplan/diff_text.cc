// Differences as text.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "libnvram/secret.h"
#include "plan/trace/redaction.h"
#include "rcplan/diff_text.h"

namespace {

constexpr const char* no_colour = "\033[0m";
constexpr const char* dim = "\033[2m";

const char* colour_of(char sign) {
    if (sign == '-') return "\033[31m";
    return sign == '+' ? "\033[32m" : "";
}

std::string coloured(const std::string& text, const char* colour, TimelineStyle style) {
    if (!style.colour || !*colour) return text + "\n";
    return colour + text + no_colour + "\n";
}

std::string setting_line(char sign, const std::string& key, const std::string& value,
                         bool show_secrets, TimelineStyle style) {
    const bool masked = !show_secrets && nvram::is_secret(key) && !value.empty();
    const std::string shown = masked ? std::string(mask) : escape_line(value);
    return coloured(fmt::format("{} {}={}", sign, key, shown), colour_of(sign), style);
}

// Writes the difference of one run.
class Writer {
  public:
    Writer(const Difference& difference, TimelineStyle style)
        : difference_(difference),
          style_(style),
          elapsed_a_(elapsed_microseconds(difference.a)),
          elapsed_b_(elapsed_microseconds(difference.b)) {}

    std::string whole();

  private:
    const Difference& difference_;
    TimelineStyle style_;
    std::vector<long long> elapsed_a_;
    std::vector<long long> elapsed_b_;
    std::set<size_t> shown_;  // events of A
    std::string out_;

    const std::vector<Event>& events(bool of_b) const {
        return (of_b ? difference_.b : difference_.a).events();
    }
    void line(char sign, const std::string& left, const std::string& text) {
        out_ += coloured(fmt::format("{}{:>8}  {}", sign, left, text), colour_of(sign), style_);
    }
    void enclosing_runs(bool of_b, size_t event);
    void context(bool of_b, size_t event);
    void place(const EffectChange& change);
    void lines(char sign, const std::vector<Origin>& places, bool whole_events);
    void change(const EffectChange& change);
    void totals();
};

// The runs of rc that an event belongs to, unless already shown.
void Writer::enclosing_runs(bool of_b, size_t event) {
    std::vector<size_t> outer;
    int depth = events(of_b)[event].depth;
    for (size_t i = event; i > 0 && depth > 0; i--) {
        if (events(of_b)[i - 1].depth >= depth) continue;
        depth = events(of_b)[i - 1].depth;
        outer.push_back(i - 1);
    }
    for (auto run = outer.rbegin(); run != outer.rend(); ++run) context(of_b, *run);
}

// The first line of an event that both have, shown once; of a print, the last line if both have it.
void Writer::context(bool of_b, size_t event) {
    const auto found = std::ranges::find_if(difference_.shared, [&](const SharedEvent& both) {
        return event == (of_b ? both.b : both.a);
    });
    if (found == difference_.shared.end() || shown_.contains(found->a)) return;
    shown_.insert(found->a);
    enclosing_runs(of_b, event);
    const std::vector<std::string> a = event_lines(events(false)[found->a]);
    const std::vector<std::string> b = event_lines(events(true)[found->b]);
    const bool print = events(of_b)[event].verb == "print";
    if (print && a.back() == b.back()) line(' ', "", a.back());
    if (!print) line(' ', "", a.front());
}

// The context before a change: the file whose lines differ, or the preceding event.
void Writer::place(const EffectChange& change) {
    if (change.within) {
        enclosing_runs(false, change.within->a);
        if (events(false)[change.within->a].verb != "print") context(false, change.within->a);
        return;
    }
    const bool of_b = change.a.empty();
    const size_t event = (of_b ? change.b : change.a).front().event;
    if (event > 0) context(of_b, event - 1);
    enclosing_runs(of_b, event);
}

void Writer::lines(char sign, const std::vector<Origin>& places, bool whole_events) {
    const bool of_b = sign == '+';
    for (const Origin& place : places) {
        const bool first = whole_events && place.line == 0;
        const long long elapsed = (of_b ? elapsed_b_ : elapsed_a_)[place.event];
        line(sign, first ? in_seconds(elapsed) : "",
             event_lines(events(of_b)[place.event])[place.line]);
    }
}

void Writer::change(const EffectChange& change) {
    place(change);
    lines('-', change.a, !change.within);
    lines('+', change.b, !change.within);
    const bool of_b = change.a.empty();
    const int depth = events(of_b)[(of_b ? change.b : change.a).front().event].depth;
    out_ += coloured(
        fmt::format("{:11}{:{}}     <- {}", "", "", depth * 4, fmt::join(change.because, ", ")),
        dim, style_);
}

void Writer::totals() {
    // coloured() adds the newline.
    const auto summary = [](const Transcript& transcript) {
        std::string text = transcript.summary();
        text.pop_back();
        return text;
    };
    const std::string a = summary(difference_.a);
    const std::string b = summary(difference_.b);
    const auto total = [&](char sign, const std::string& text) {
        out_ += coloured(std::string(1, sign) + ' ' + text, colour_of(sign), style_);
    };
    if (a == b) return total(' ', a);
    total('-', a);
    total('+', b);
}

std::string Writer::whole() {
    for (const EffectChange& each : difference_.changes) change(each);
    totals();
    return std::move(out_);
}

std::string listed(const std::set<std::string>& names) {
    return fmt::format("{}", fmt::join(names, ", "));
}

// "/etc/udhcpd.conf and its commands change".
std::string effects_words(const ChangedEffects& effects) {
    std::vector<std::string> things;
    for (const std::string& path : effects.files) things.push_back(escape_line(path));
    for (const std::string& key : effects.stored) things.push_back("the setting " + key);
    if (effects.commands) things.emplace_back("its commands");
    const bool several = things.size() > 1 || effects.commands;
    std::string last = things.back();
    things.pop_back();
    if (things.empty()) return last + (several ? " change" : " changes");
    return fmt::format("{} and {} change", fmt::join(things, ", "), last);
}

std::string reason_line(const std::string& action, const ChangedEffects& effects) {
    return fmt::format("{:<20} because of {}: {}\n", action, listed(effects.because),
                       effects_words(effects));
}

std::string restart_lines(const std::vector<Restart>& restarts) {
    std::string text;
    for (const Restart& restart : restarts)
        text += reason_line(fmt::format("rc {}", fmt::join(restart.words, " ")), restart.effects);
    return text;
}

std::string before_lines(const std::vector<StopBefore>& stops) {
    if (stops.empty()) return "";
    std::string text = "\nrun before changing the settings, because afterwards it does less:\n";
    for (const StopBefore& stop : stops) {
        text += fmt::format("{:<20} because of {}:\n",
                            fmt::format("rc {}", fmt::join(stop.words, " ")), listed(stop.because));
        for (const std::string& line : stop.only_with_a) text += "    " + escape_line(line) + "\n";
    }
    return text;
}

struct Cost {
    int commands = 0;
    long long microseconds = 0;
};

Cost cost_of(const std::vector<Restart>& restarts) {
    Cost cost;
    for (const Restart& restart : restarts) {
        cost.commands += restart.totals.commands;
        cost.microseconds += restart.totals.microseconds;
    }
    return cost;
}

std::string gentler(const Advice& advice) {
    if (advice.gentlest.empty()) return "";
    const Cost few = cost_of(advice.gentlest);
    const Cost many = cost_of(advice.fewest);
    return fmt::format(
               "\nalternative with {} commands instead of {}, and pauses of {} instead of {}:\n",
               few.commands, many.commands, in_seconds(few.microseconds),
               in_seconds(many.microseconds)) +
           restart_lines(advice.gentlest);
}

std::string boot_lines(const Advice& advice) {
    if (advice.at_boot.because.empty()) return "";
    std::string text = "\nneeds a boot:\n" + reason_line("rc init", advice.at_boot);
    const std::vector<std::string> only = only_at_boot(advice);
    if (!only.empty()) text += fmt::format("read only at boot: {}\n", fmt::join(only, ", "));
    return text;
}

}  // namespace

std::string settings_text(const std::vector<SettingChange>& changes, bool show_secrets,
                          TimelineStyle style) {
    if (changes.empty()) return "no setting differs\n";
    std::string text = "settings that differ:\n";
    for (const SettingChange& change : changes) {
        if (change.a) text += setting_line('-', change.key, *change.a, show_secrets, style);
        if (change.b) text += setting_line('+', change.key, *change.b, show_secrets, style);
    }
    return text;
}

std::string difference_text(const Difference& difference, const std::vector<std::string>& words,
                            TimelineStyle style) {
    const std::string call = fmt::format("\n{}: ", fmt::join(words, " "));
    if (difference.changes.empty()) return call + "nothing differs\n";
    return call + "differs\n" + Writer(difference, style).whole();
}

std::string advice_text(const Advice& advice) {
    std::string text = before_lines(advice.before);
    if (advice.fewest.empty())
        text += "\nno action is needed\n";
    else
        text += "\nrun, in this order:\n" + restart_lines(advice.fewest);
    text += gentler(advice) + boot_lines(advice);
    if (!advice.unused.empty())
        text += fmt::format("\nused by no action: {}\n", fmt::join(advice.unused, ", "));
    return text;
}
