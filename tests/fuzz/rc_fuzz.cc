// Every action of rc on arbitrary routers, over the recording platform. An input is the head of a
// case file, so that the cases are the seeds and a finding is a case.

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>

#include "case_mutator.h"
#include "case_text.h"
#include "core/command.h"
#include "core/text.h"
#include "firewall/rules.h"
#include "libnvram/image.h"
#include "plan/router/case.h"
#include "plan/router/recording.h"

namespace {

// The longest run, a restart of all applications with each of its lists full, has some 500 steps.
constexpr size_t most_events = 3000;

// One of this many inputs is played twice.
constexpr size_t repeated_share = 16;

// Lines that are not composed by SYSTEM, which would cut them.
constexpr const char* uncut_lines[] = {
    "/sbin/route add -net ",
    "/sbin/route del -net ",
    "/usr/sbin/routed ",
};

[[noreturn]] void broken(const char* property, const std::string& what) {
    fprintf(stderr, "%s: %s\n", property, escape_line(cut(what, 200)).c_str());
    abort();
}

bool may_be_long(const std::string& line) {
    return std::ranges::any_of(uncut_lines,
                               [&](const char* start) { return line.starts_with(start); });
}

void expect_sound_events(const std::vector<Event>& events) {
    if (events.size() > most_events) broken("too many steps", std::to_string(events.size()));
    for (const Event& event : events) {
        if (event.verb == "run" && event.text.size() > command_limit && !may_be_long(event.text))
            broken("a line that is not cut", event.text);
        if (event.verb == "signal") {
            const size_t before_pid = event.text.rfind(' ');
            if (leading_int(event.text.substr(before_pid)) <= 1)
                broken("signals more than one process", event.text);
        }
        if (event.verb == "note") broken("rc calls itself without end", event.text);
        if (event.verb != "write" || event.text != "/tmp/rules") continue;
        constexpr size_t line_limit = sizeof "iptables " - 1 + rule_limit;
        for (std::string_view rest = event.body; !rest.empty();)
            if (const std::string_view rule = take_field(rest, '\n'); rule.size() > line_limit)
                broken("a rule that is not cut", std::string(rule));
    }
}

bool has_bad_lines(const std::string& text) {
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(text, &bad_lines);
    return !bad_lines.empty();
}

// If the settings are undamaged before a run, they are undamaged after it.
void expect_whole_settings(const World& world) {
    for (const char* path : {working_copy, flash_image})
        if (const std::string* text = world.get(path); text && has_bad_lines(*text))
            broken("an image with bad lines", path);
}

// Only the settings that were stored have changed, by rc or by another program meanwhile.
void expect_only_stored(const std::string& old_text, const Recording& played) {
    const std::string* new_text = played.world.get(working_copy);
    if (!new_text || old_text == *new_text) return;
    // The whole image was replaced by a load or a copy.
    const std::vector<Event>& events = played.transcript.events();
    const bool replaced = std::ranges::any_of(events, [](const Event& event) {
        return event.verb == "load" || contains(event.text, working_copy);
    });
    if (replaced) return;
    const Settings old_settings = read_settings(old_text);
    for (const auto& [key, value] : read_settings(*new_text)) {
        const auto old = old_settings.find(key);
        if (old != old_settings.end() && old->second == value) continue;
        const std::string start = key + "=";
        const bool stored = std::ranges::any_of(events, [&](const Event& event) {
            const bool saved = event.verb == "set" || event.verb == "change";
            return saved && event.text.starts_with(start);
        });
        if (!stored) broken("changed without being stored", key);
    }
}

void expect_sound_settings(const Case& stated, const Recording& played) {
    const auto whole = [](const Settings& settings) {
        return !has_bad_lines(settings_image(settings));
    };
    const std::string before = settings_image(stated.settings);
    if (has_bad_lines(before) || (stated.factory && !whole(*stated.factory)) ||
        (stated.flash && !whole(*stated.flash)))
        return;
    for (const World::Change& change : stated.world.changes)
        if (!whole({{change.key, change.value}})) return;
    // Files in the case may replace an image.
    for (const char* path : {working_copy, flash_image, factory_image})
        if (stated.world.get(path)) return;
    expect_whole_settings(played.world);
    if (!stated.power_on) expect_only_stored(before, played);
}

void expect_printable(const std::string& transcript) {
    for (const char c : transcript)
        if ((c < 0x20 || c > 0x7e) && c != '\n')
            broken("a transcript with unprintable bytes", transcript);
}

// A run leaves no state in memory that changes a later one.
void expect_same_again(const Case& stated, const std::string& transcript) {
    Recording again;
    again.world = case_world(stated);
    play(again, stated.words);
    if (again.transcript.text() != transcript) broken("two runs differ", again.transcript.text());
}

// Everything that a run does except printing.
std::vector<std::string> deeds(const Recording& played) {
    std::vector<std::string> lines;
    for (const Event& event : played.transcript.events())
        if (event.verb != "print")
            lines.push_back(event.verb + " " + event.text + "\n" + event.body);
    return lines;
}

// A run does the same when nobody reads its output, and with its standard descriptors closed.
void expect_same_without_reader(const Case& stated, const Recording& played) {
    Recording heard;
    heard.world = case_world(stated);
    std::erase_if(heard.world.denied, [](const auto& denial) { return denial.first == no_reader; });
    if (heard.world.denied.size() == stated.world.denied.size()) return;
    play(heard, stated.words);
    if (deeds(heard) != deeds(played))
        broken("another run when nobody reads", played.transcript.text());
}

std::optional<Case> case_of(const uint8_t* data, size_t size) {
    auto parsed = parse_case({reinterpret_cast<const char*>(data), size});
    if (auto* stated = std::get_if<Case>(&parsed)) return std::move(*stated);
    return std::nullopt;
}

// Writes a case's text into the fuzzer's buffer. Returns its size; the old size if it does not fit.
size_t put_case(Case& stated, uint8_t* data, size_t size, size_t max_size) {
    stated.title = "fuzz: a finding";
    const std::string text = case_text(stated);
    if (text.size() > max_size) return size;
    std::ranges::copy(text, data);
    return text.size();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::optional<Case> stated = case_of(data, size);
    if (!stated) return 0;
    Recording played;
    played.world = case_world(*stated);
    play(played, stated->words);
    remember_run(stated->words, played);

    expect_sound_events(played.transcript.events());
    expect_sound_settings(*stated, played);
    expect_same_without_reader(*stated, played);
    if (size % repeated_share == 0) {
        const std::string transcript = played.transcript.text();
        expect_printable(transcript);
        expect_same_again(*stated, transcript);
    }
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size,
                                          unsigned seed) {
    Random random(seed);
    std::optional<Case> stated = case_of(data, size);
    if (!stated) {
        stated.emplace();
        stated->words = {"rc", "start"};
    }
    do mutate(*stated, random);
    while (one_in(random, 2));
    return put_case(*stated, data, size, max_size);
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* data, size_t size, const uint8_t* other,
                                            size_t other_size, uint8_t* out, size_t max_size,
                                            unsigned seed) {
    Random random(seed);
    std::optional<Case> stated = case_of(data, size);
    const std::optional<Case> second = case_of(other, other_size);
    if (!stated || !second) return 0;
    cross(*stated, *second, random);
    return put_case(*stated, out, 0, max_size);
}
