// Compares the sentences of nvram check about rc with runs of rc that have the same settings: each
// sentence about a line, and each that says that a value has no effect.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

#include "check/check.h"
#include "core/text.h"
#include "plan/router/actions.h"
#include "plan/router/plan.h"
#include "plan/router/recording.h"
#include "settings/records.h"
#include "settings/uses.h"
#include "traps.h"
#include "wrong_settings.h"

namespace {

// The router before the WAN is up, and after.
World quiet_router() {
    World world;
    world.interfaces["br0"].address = "192.168.1.1";
    world.interfaces["eth2.2"].address = std::nullopt;
    return world;
}

World busy_router() {
    World world = quiet_router();
    world.interfaces["eth2.2"].address = "10.64.0.2";
    world.interfaces["ppp0"].address = "10.64.0.3";
    world.put("/tmp/wan_uptime", "100.00 90.00\n");
    world.put("/tmp/wan_uptime1", "100.00 90.00\n");
    world.outputs["/sbin/route -n"] = "0.0.0.0 10.64.0.1 0.0.0.0 UG 0 0 0 eth2.2\n";
    world.put("/etc/resolv.conf", "nameserver 10.64.0.53\n");
    world.put("/dev/mtd0", std::string(0x30000, '\x12'));
    world.outputs["/bin/ps -ax"] = "  12 root  udhcpc\n";
    world.hosts["vpn.example.com"] = "203.0.113.1";
    // A Monday, at noon.
    world.clock_microseconds = 1'704'110'400'000'000;
    return world;
}

using Lines = std::set<std::string>;

// What runs hand to a shell, and what they leave in files, each line as nvram check shows it.
Lines lines_of(const Plan& plan) {
    Lines lines;
    const auto add = [&](const std::string& place, const std::string& text) {
        std::string shown = place + "\n";
        for (const char c : text) {
            if (c == '\\' || c == '\t')
                shown += c;
            else
                nvram::append_escaped(shown, {&c, 1});
        }
        lines.insert(shown);
    };
    const auto add_file = [&](const std::string& path, const std::string& body) {
        // A value with a newline goes on in the next line: its first line is looked up as well.
        std::istringstream text(body);
        for (std::string line; std::getline(text, line);) add(path, line);
        add(path + " whole", body);
    };
    for (const Event& event : plan.after.transcript.events()) {
        if (event.verb == "run" || event.verb == "pipe") add("command", event.text);
        if (event.verb == "write" || event.verb == "append") add_file(event.text, event.body);
    }
    for (const std::string& path : produced_files(plan))
        if (path != working_copy && path != flash_image)
            add_file(path, *plan.after.world.get(path));
    return lines;
}

// All that rc does with settings: played when it is asked for, once.
class Runs {
  public:
    explicit Runs(const Settings& settings) : settings_(settings) {}

    const Lines& of(const std::vector<std::string>& words) {
        const auto found = lines_.find(words);
        if (found != lines_.end()) return found->second;
        Lines lines;
        for (World router : {quiet_router(), busy_router()}) {
            router.put(flash_image, settings_image(settings_));
            const Lines more = lines_of(make_plan(router_with(router, settings_, words), words));
            lines.insert(more.begin(), more.end());
        }
        return lines_[words] = std::move(lines);
    }

    // Of all actions that use a key.
    Lines of_key(const std::string& key) {
        Lines lines;
        const std::string actions =
            " " + std::string(nvram::actions_of(nvram::setting_uses(), key)) + " ";
        for (const std::vector<std::string>& words : all_actions()) {
            if (!contains(actions, " " + words[1] + " ")) continue;
            // A restart is a stop and a start. Rules that are only created are not used.
            const std::string action = words.size() > 2 ? words[2] : "";
            if (action == "restart" || (words[1] == "firewall" && action == "create")) continue;
            const Lines& more = of(words);
            lines.insert(more.begin(), more.end());
        }
        return lines;
    }

  private:
    Settings settings_;
    std::map<std::vector<std::string>, Lines> lines_;
};

// "..." and asterisks stand for anything.
bool matches(std::string_view line, std::string_view shown) {
    const size_t dots = shown.find("...");
    const size_t stars = shown.find("********");
    const size_t gap = std::min(dots, stars);
    if (gap == std::string_view::npos) return line == shown;
    if (line.substr(0, gap) != shown.substr(0, gap)) return false;
    shown.remove_prefix(gap + (dots < stars ? 3 : 8));
    for (size_t at = gap; at <= line.size(); at++)
        if (matches(line.substr(at), shown)) return true;
    return false;
}

// `part` is also in the line.
bool has_line(const Lines& lines, const std::string& place, const std::string& shown,
              const std::string& part = "") {
    return std::ranges::any_of(lines, [&](const std::string& line) {
        if (!contains(line, part)) return false;
        if (line.starts_with(place + "\n")) return matches(line.substr(place.size() + 1), shown);
        // A line that the value's own newlines break.
        return contains(shown, "\\x0a") && line.starts_with(place + " whole\n") &&
               matches(line.substr(place.size() + 7), "..." + shown + "...");
    });
}

// The beginning of a sentence about a line that rc does not write with these settings: what they
// would have to be, "with fw_remote=1 and fw_block empty, ".
struct Otherwise {
    Settings settings;
    bool known = true;  // false if it depends on more than the sentence says
};

std::optional<Otherwise> take_otherwise(std::string& effect, const Settings& settings) {
    const size_t line = std::min(effect.find(", runs: "), effect.find(", writes into "));
    if (line == std::string::npos) return std::nullopt;
    if (!effect.starts_with("with ") && !effect.starts_with("depending on ")) return std::nullopt;
    Otherwise otherwise = {.settings = settings};
    std::string start = effect.substr(0, line);
    effect = effect.substr(line + 2);
    const size_t depending = start.find("depending on ");
    if (depending != std::string::npos) {
        otherwise.known = false;
        start = start.substr(0, depending);
    }
    if (start.starts_with("with ")) start = start.substr(5);
    while (!start.empty()) {
        const std::string part = start.substr(0, start.find(" and "));
        start = start.substr(std::min(start.size(), part.size() + 5));
        if (part.ends_with(" empty"))
            otherwise.settings[part.substr(0, part.size() - 6)] = "";
        else
            otherwise.settings[part.substr(0, part.find('='))] = part.substr(part.find('=') + 1);
    }
    return otherwise;
}

// The value, or its entry, makes no difference to what rc does.
bool makes_no_difference(Runs& runs, const Settings& settings, const nvram::Finding& finding) {
    const nvram::KnownSetting* const known = nvram::find_known(finding.key);
    if (known == nullptr) return false;
    Settings without = settings;
    unsigned entry = 0;
    const bool in_list = sscanf(finding.problem.c_str(), "entry %u", &entry) == 1;
    if (in_list && known->record != nullptr) {
        std::string list = settings.at(finding.key).substr(0, known->record->ignored_prefix);
        unsigned number = 0;
        for (const std::string_view text :
             nvram::split_records(*known->record, settings.at(finding.key)))
            if (++number != entry) list += std::string(text) + known->record->between;
        without[finding.key] = list;
    } else {
        without[finding.key] = known->record != nullptr ? "" : known->factory;
    }
    Runs others(without);
    return runs.of_key(finding.key) == others.of_key(finding.key);
}

// The value that rc takes instead of the one that is there, if the sentence names one.
std::optional<std::string> taken_instead(const std::string& effect) {
    constexpr std::string_view starts[] = {"reads it as ", "reads only the first character, ",
                                           "reads the address as "};
    if (effect.starts_with("treats it as off: only a value that starts with 1 ")) return "0";
    if (effect.starts_with("treats it as on: only a value that starts with 0 ")) return "1";
    if (effect.starts_with("does not use a text of fewer than ")) return "";
    for (const std::string_view start : starts) {
        if (!effect.starts_with(start)) continue;
        const std::string value = effect.substr(start.size());
        if (value.find_first_of(" ,:") == std::string::npos) return value;
    }
    return std::nullopt;
}

bool does_the_same_with(Runs& runs, const Settings& settings, const nvram::Finding& finding,
                        const std::string& value) {
    Settings changed = settings;
    changed[finding.key] = value;
    Runs others(changed);
    // A log that nothing reads.
    const auto counts = [](Lines lines) {
        std::erase_if(lines, [](const auto& line) { return line.starts_with("/tmp/qostest"); });
        return lines;
    };
    return counts(runs.of_key(finding.key)) == counts(others.of_key(finding.key));
}

struct Verdicts {
    unsigned lines = 0;
    unsigned not_now = 0;
    unsigned otherwise = 0;
    unsigned no_differences = 0;
    unsigned instead = 0;
    unsigned unclear = 0;
    std::map<std::string, unsigned> others;
    std::set<std::string> untrue;
};

// The kinds of sentences that no run is compared with: what a driver, a daemon, the kernel or a
// person makes of a value, and what rc does in other words than a line's. N stands for each number,
// X for what is quoted or listed.
class Unplayed {
  public:
    explicit Unplayed(const char* path) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            if (!line.empty() && line[0] != '#') kinds_.insert(line);
    }

    static std::string kind_of(const std::string& effect) {
        std::string kind = std::regex_replace(effect, std::regex("(^| )'.*'"), "$1X");
        kind = std::regex_replace(kind, std::regex("^(stops there and does not block: ).*"), "$1X");
        kind = std::regex_replace(kind, std::regex("^(makes no use of: ).*"), "$1X");
        kind =
            std::regex_replace(kind, std::regex("^(reads it as ).*( [0-9]+ to [0-9]+)$"), "$1X$2");
        kind = std::regex_replace(kind, std::regex("^(writes [0-9]+:)[^ ]+ "), "$1X ");
        kind = std::regex_replace(kind, std::regex("( entry) [0-9]+(, [0-9]+)*$"), "$1 N");
        return std::regex_replace(kind, std::regex("-?[0-9]+"), "N");
    }

    bool has(const std::string& effect) const { return kinds_.contains(kind_of(effect)); }
    size_t size() const { return kinds_.size(); }

  private:
    std::set<std::string> kinds_;
};

std::string without_end(std::string text, std::string_view mark) {
    const size_t at = text.find(mark);
    return at == std::string::npos ? text : text.substr(0, at);
}

// The value in a text like "entry 9, field port: '80x' is not a number".
std::string quoted_in(const std::string& text) {
    const size_t begin = text.find('\'');
    const size_t end = text.find("' ", begin + 1);
    return begin == text.npos || end == text.npos ? "" : text.substr(begin + 1, end - begin - 1);
}

void judge(Verdicts& verdicts, Runs& runs, const WrongSettings& wrong,
           const nvram::Finding& finding) {
    std::string effect = finding.effect;
    const auto untrue = [&](const char* what) {
        verdicts.untrue.insert(wrong.base + ": " + finding.key + "=" + finding.value + "\n    " +
                               finding.problem + "\n    rc: " + finding.effect + "\n    " + what);
    };
    if (effect.starts_with("depending on ")) {
        verdicts.unclear++;
        return;
    }
    if (effect == "skips the entry") {
        verdicts.no_differences++;
        if (!makes_no_difference(runs, wrong.settings, finding)) untrue("it makes a difference");
        return;
    }
    const std::optional<std::string> instead = taken_instead(effect);
    const bool in_list =
        finding.problem.starts_with("entry ") || finding.problem.starts_with("field ");
    if (instead && !in_list) {
        verdicts.instead++;
        if (!does_the_same_with(runs, wrong.settings, finding, *instead))
            untrue("it does something else with that value");
        return;
    }
    const std::optional<Otherwise> otherwise = take_otherwise(effect, wrong.settings);
    const bool now = !otherwise;
    for (size_t at = effect.find("\\x09"); at != std::string::npos; at = effect.find("\\x09"))
        effect.replace(at, 4, "\t");
    effect = without_end(effect, " (and ");
    effect = without_end(effect, "; iptables re");
    std::string place;
    if (effect.starts_with("runs: ")) {
        place = "command";
        effect = effect.substr(6);
    } else if (effect.starts_with("runs /") && contains(effect, ", which the kernel rejects")) {
        place = "command";
        effect = effect.substr(5, effect.find(", which the kernel rejects") - 5);
        if (contains(effect, " add -net ")) effect += " ...";
    } else if (effect.starts_with("writes into /")) {
        const size_t colon = effect.find(": ");
        place = effect.substr(12, colon - 12);
        effect = effect.substr(colon + 2);
        if (effect.starts_with("outport=")) effect = "..." + effect + " ...";
    }
    if (place.empty()) {
        verdicts.others[finding.key + ": " + finding.effect]++;
        return;
    }
    (now ? verdicts.lines : verdicts.not_now)++;
    // Asterisks match any value, so the line of a secret shows nothing about a line that is not
    // there.
    if (!now && contains(effect, "********")) return;
    // A shortened line that is not there may look like another entry's that is.
    const std::string part = now || !contains(effect, "...") ? "" : quoted_in(finding.problem);
    const bool there = has_line(runs.of_key(finding.key), place, effect, part);
    if (now && !there) untrue("no such line");
    if (!now && there) untrue("the line is there with these settings");
    if (now || !otherwise->known) return;
    verdicts.otherwise++;
    Runs others(otherwise->settings);
    if (!has_line(others.of_key(finding.key), place, effect))
        untrue("no such line with the settings that it names");
}

size_t from_environment(const char* name, size_t otherwise) {
    const char* const text = getenv(name);
    return text == nullptr ? otherwise : strtoul(text, nullptr, 10);
}

// SENTENCES_STRIDE=1 plays all 11,000 files.
TEST(Sentences, AreTrueOfEveryWrongSettingsFile) {
    Verdicts verdicts;
    size_t files = 0;
    const size_t stride = from_environment("SENTENCES_STRIDE", 23);
    std::vector<WrongSettings> all = wrong_settings(stride, from_environment("SENTENCES_FIRST", 0));
    for (const Trap& trap : traps()) all.push_back(wrong_setting(trap.base, trap.key, trap.value));
    for (const WrongSettings& wrong : all) {
        files++;
        const nvram::Image image(settings_image(wrong.settings));
        Runs runs(wrong.settings);
        for (const nvram::Finding& finding : nvram::check_settings(image))
            if (finding.key == wrong.key) judge(verdicts, runs, wrong, finding);
    }
    for (const std::string& sentence : verdicts.untrue) ADD_FAILURE() << sentence;
    const Unplayed unplayed(UNPLAYED_SENTENCES);
    EXPECT_GT(unplayed.size(), 50U);
    for (const auto& [sentence, count] : verdicts.others) {
        const std::string effect = sentence.substr(sentence.find(": ") + 2);
        EXPECT_TRUE(unplayed.has(effect))
            << sentence
            << "\n    no run was compared with this sentence; as a kind of its own it is\n"
            << Unplayed::kind_of(effect);
    }
    EXPECT_GT(files, 10000U / stride);
    EXPECT_GT(verdicts.lines, 1000U / stride);
    EXPECT_GT(verdicts.not_now, 1000U / stride);
    EXPECT_GT(verdicts.instead, 1000U / stride);
    std::cout << files << " files, " << verdicts.lines << " lines, " << verdicts.not_now
              << " lines of other settings, " << verdicts.otherwise << " of them played, "
              << verdicts.no_differences << " skipped entries, " << verdicts.instead
              << " other values, " << verdicts.unclear << " unclear\n";
    if (getenv("SENTENCES") != nullptr)
        for (const auto& [sentence, count] : verdicts.others)
            std::cout << count << "  " << sentence << "\n";
}

class TrapTest : public testing::TestWithParam<Trap> {};

TEST_P(TrapTest, ShowsWhatRcWrites) {
    const WrongSettings wrong = wrong_setting(GetParam().base, GetParam().key, GetParam().value);
    const nvram::Image image(settings_image(wrong.settings));
    std::vector<std::string> effects;
    for (const nvram::Finding& finding : nvram::check_settings(image))
        if (finding.key == wrong.key) effects.push_back(finding.effect);
    EXPECT_EQ(effects, GetParam().effects);
}

INSTANTIATE_TEST_SUITE_P(Sentences, TrapTest, testing::ValuesIn(traps()),
                         [](const auto& trap) { return std::string(trap.param.name); });

}  // namespace
