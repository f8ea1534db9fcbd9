// Case files: reading them and comparing transcripts.

#include "plan/router/case.h"

#include <ctype.h>
#include <stdlib.h>
#include <time.h>

#include "core/text.h"
#include "plan/router/lines.h"
#include "plan/router/plan.h"

namespace {

// The minimum MTU of an IPv4 link (RFC 791).
constexpr int least_mtu = 68;

constexpr unsigned long most_zeros = 16u << 20;

// 136 years: longer than any uptime, and short enough that no product overflows.
constexpr long long longest_uptime = 4'294'967'295;

// Between a setting that changes during the run and the command after which it does.
constexpr std::string_view after_word = " after ";

// The kernel's highest (proc(5), pid_max).
constexpr int highest_pid = 4'194'304;

// Reads the lines above "expect".
class CaseReader {
  public:
    // Reads one line. Returns the error in it, or "".
    std::string take(std::string_view line);
    // The same for a world file.
    std::string take_of_world(std::string_view line);
    Case finish() { return std::move(result_); }

  private:
    Case result_;
    // The text to which body lines are appended.
    std::string* body_ = nullptr;

    std::string take_directive(std::string_view word, const std::string& rest);
    std::string take_setting(Settings& settings, const std::string& text);
    std::string take_body(std::string_view line);
    std::string take_hex(std::string_view digits);
};

std::string CaseReader::take(std::string_view line) {
    if (line.starts_with("     ")) return take_body(line.substr(5));
    body_ = nullptr;
    if (line.empty()) return "";
    if (line.starts_with("#")) {
        if (result_.title.empty())
            result_.title = line.substr(line.find_first_not_of("# ") % line.size());
        return "";
    }
    std::string_view rest = line;
    const std::string_view word = take_field(rest, ' ');
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    return take_directive(word, unescape_line(rest));
}

std::string CaseReader::take_of_world(std::string_view line) {
    std::string_view rest = line;
    const std::string word(take_field(rest, ' '));
    for (const char* other :
         {"command", "setting", "change", "flash", "factory", "power-on", "expect"})
        if (word == other) return format("'%s' does not belong into a world", word.c_str());
    return take(line);
}

std::string CaseReader::take_directive(std::string_view word, const std::string& rest) {
    if (word == "command") {
        result_.words = command_words(rest);
        return result_.words.empty() ? "a command needs words" : "";
    }
    if (word == "power-on") {
        result_.power_on = true;
        return "";
    }
    if (word == "setting") return take_setting(result_.settings, rest);
    if (word == "flash")
        return take_setting(result_.flash ? *result_.flash : result_.flash.emplace(), rest);
    if (word == "factory")
        return take_setting(result_.factory ? *result_.factory : result_.factory.emplace(), rest);
    if (word == "file") {
        result_.world.put(rest, "");
        body_ = result_.world.files[rest].get();
        return "";
    }
    if (word == "output") {
        body_ = &result_.world.outputs[rest];
        return "";
    }
    if (word == "deny") {
        const std::vector<std::string> words = command_words(rest);
        if (words.size() != 2) return "deny takes a path and a mode";
        result_.world.denied.insert({words[0], words[1]});
        return "";
    }
    if (word == "uptime") {
        const std::optional<long long> seconds = scan_number(rest.c_str());
        if (!seconds || *seconds < 0 || *seconds > longest_uptime)
            return "uptime takes whole seconds, at most 4294967295";
        result_.world.uptime_microseconds = *seconds * 1'000'000;
        return "";
    }
    if (word == "clock") {
        const std::optional<long long> clock = read_clock(rest);
        if (!clock) return "clock takes YYYY-MM-DD HH:MM:SS";
        result_.world.clock_microseconds = *clock;
        return "";
    }
    if (word == "pid") {
        result_.world.pid = leading_int(rest);
        const bool legal = result_.world.pid >= 1 && result_.world.pid <= highest_pid;
        return legal ? "" : "pid takes a number from 1 to 4194304";
    }
    if (word == "change") {
        const size_t after = rest.find(after_word);
        const auto assignment = split_assignment(rest.substr(0, after));
        if (after == rest.npos || !assignment) return "change takes KEY=VALUE after COMMAND";
        result_.world.changes.push_back({.after = rest.substr(after + after_word.size()),
                                         .key = assignment->first,
                                         .value = assignment->second});
        return "";
    }
    if (word == "environment") {
        const auto assignment = split_assignment(rest);
        if (!assignment) return "environment takes NAME=VALUE";
        result_.world.environment[assignment->first] = assignment->second;
        return "";
    }
    if (word == "interface") {
        const std::vector<std::string> words = command_words(rest);
        if (words.size() != 2 && words.size() != 3)
            return "interface takes a name, an address and perhaps an MTU";
        World::Interface& stated = result_.world.interfaces[words[0]];
        if (words[1] != "-") stated.address = words[1];
        if (words.size() == 3) stated.mtu = leading_int(words[2]);
        if (stated.mtu < least_mtu) return "no interface has an MTU below 68";
        return "";
    }
    if (word == "host") {
        const std::vector<std::string> words = command_words(rest);
        if (words.size() != 2) return "host takes a name and an address";
        result_.world.hosts[words[0]] = words[1];
        return "";
    }
    return format("'%s' is not a line of a case", std::string(word).c_str());
}

std::string CaseReader::take_setting(Settings& settings, const std::string& text) {
    const auto assignment = split_assignment(text);
    if (!assignment) return "a setting is written KEY=VALUE";
    if (!settings.insert(*assignment).second)
        return format("'%s' is set twice", assignment->first.c_str());
    return "";
}

std::string CaseReader::take_body(std::string_view line) {
    if (!body_) return "a body line belongs under a file or an output";
    if (line.starts_with("x ")) return take_hex(line.substr(2));
    if (line.starts_with("z ")) {
        // A flash partition is mostly empty.
        const unsigned long zeros = strtoul(std::string(line.substr(2)).c_str(), nullptr, 0);
        if (zeros == 0 || zeros > most_zeros) return "a 'z' line takes a number of zero bytes";
        body_->append(zeros, '\0');
        return "";
    }
    const bool ended = line.starts_with("|");
    if (!ended && !line.starts_with("\\"))
        return "a body line begins with '| ', '\\ ', 'x ' or 'z '";
    line.remove_prefix(line.substr(1).starts_with(' ') ? 2 : 1);
    *body_ += unescape_line(line);
    if (ended) *body_ += '\n';
    return "";
}

std::string CaseReader::take_hex(std::string_view digits) {
    while (!digits.empty()) {
        const std::string pair(take_field(digits, ' '));
        if (pair.size() != 2 || !isxdigit(static_cast<unsigned char>(pair[0])) ||
            !isxdigit(static_cast<unsigned char>(pair[1])))
            return format("'%s' is not a byte; expected two hexadecimal digits", pair.c_str());
        *body_ += static_cast<char>(strtoul(pair.c_str(), nullptr, 16));
    }
    return "";
}

}  // namespace

std::variant<Case, CaseError> parse_case(std::string_view text) {
    CaseReader reader;
    const std::string_view whole = text;
    for (int number = 1; !text.empty(); number++) {
        const std::string_view line = take_field(text, '\n');
        if (line == "expect") {
            Case result = reader.finish();
            if (result.words.empty()) return CaseError{"there is no command"};
            if (result.title.empty()) return CaseError{"there is no title"};
            if (result.power_on && !result.settings.empty())
                return CaseError{
                    "settings are not allowed with power-on: there is no working copy yet"};
            result.head = whole.substr(0, whole.size() - text.size());
            result.expected = text;
            return result;
        }
        const std::string wrong = reader.take(line);
        if (!wrong.empty()) return CaseError{format("line %d: %s", number, wrong.c_str())};
    }
    return CaseError{"there is no line 'expect'"};
}

std::variant<World, CaseError> parse_world(std::string_view text) {
    CaseReader reader;
    for (int number = 1; !text.empty(); number++) {
        const std::string wrong = reader.take_of_world(take_field(text, '\n'));
        if (!wrong.empty()) return CaseError{format("line %d: %s", number, wrong.c_str())};
    }
    return reader.finish().world;
}

World case_world(const Case& stated) {
    World world = copy_of(stated.world);
    if (!stated.power_on) world.put(working_copy, settings_image(stated.settings));
    if (stated.factory) world.put(factory_image, settings_image(*stated.factory));
    if (stated.flash) world.put(flash_image, settings_image(*stated.flash));
    return world;
}

std::vector<std::string> command_words(std::string_view line) {
    std::vector<std::string> words;
    bool in_word = false;
    bool quoted = false;
    for (const char c : line) {
        if (c == ' ' && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word) words.emplace_back();
        in_word = true;
        if (c == '"')
            quoted = !quoted;
        else
            words.back() += c;
    }
    return words;
}

std::optional<std::pair<std::string, std::string>> split_assignment(std::string_view text) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) return std::nullopt;
    return std::pair{std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

std::string transcript_difference(std::string_view expected, std::string_view actual) {
    if (expected == actual) return "";
    std::vector<std::string> a;
    std::vector<std::string> b;
    while (!expected.empty()) a.emplace_back(take_field(expected, '\n'));
    while (!actual.empty()) b.emplace_back(take_field(actual, '\n'));

    std::string out;
    const auto mark = [&](const char* sign, std::span<const std::string> lines) {
        for (const std::string& line : lines) out += sign + line + "\n";
    };
    const std::span<const std::string> all = a;
    size_t at = 0;
    for (const LineChange& change : compare_lines(a, b)) {
        mark("  ", all.subspan(at, change.from - at));
        mark("- ", all.subspan(change.from, change.to - change.from));
        mark("+ ", std::span(b).subspan(change.other_from, change.other_to - change.other_from));
        at = change.to;
    }
    if (!out.empty()) mark("  ", all.subspan(at));
    return out.empty() ? "the texts differ in their last newline\n" : out;
}
