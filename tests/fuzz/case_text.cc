// The stated part of a case as the text of a case file.

#include "case_text.h"

#include <time.h>

#include "core/text.h"

namespace {

// Shorter runs of zero bytes are written like other bytes.
constexpr size_t least_zeros = 16;

// A word as written for command_words; nullopt if it cannot be quoted.
std::optional<std::string> word_text(const std::string& word) {
    if (contains(word, "\"")) return std::nullopt;
    return "\"" + word + "\"";
}

void add_line(std::string& text, const char* directive, const std::string& rest) {
    // A blank before the text would be read as layout.
    const bool blank = rest.starts_with(' ');
    const std::string_view visible = std::string_view(rest).substr(blank ? 1 : 0);
    text += format("%s  %s%s\n", directive, blank ? "\\s" : "", escape_line(visible).c_str());
}

void add_words(std::string& text, const char* directive, const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        const std::optional<std::string> quoted = word_text(word);
        if (!quoted) return;
        line += (line.empty() ? "" : " ") + *quoted;
    }
    add_line(text, directive, line);
}

void add_settings(std::string& text, const char* directive, const Settings& settings) {
    for (const auto& [key, value] : settings) add_line(text, directive, key + "=" + value);
}

void add_bytes(std::string& text, std::string_view bytes) {
    while (!bytes.empty()) {
        text += "     x";
        for (const char byte : bytes.substr(0, 8))
            text += format(" %02x", static_cast<unsigned char>(byte));
        text += '\n';
        bytes.remove_prefix(std::min<size_t>(bytes.size(), 8));
    }
}

void add_binary_body(std::string& text, std::string_view body) {
    while (!body.empty()) {
        const size_t zeros = std::min(body.find_first_not_of('\0'), body.size());
        if (zeros >= least_zeros) {
            text += format("     z %zu\n", zeros);
            body.remove_prefix(zeros);
        }
        const size_t bytes = std::min(body.find(std::string(least_zeros, '\0')), body.size());
        add_bytes(text, body.substr(0, bytes));
        body.remove_prefix(bytes);
    }
}

void add_body(std::string& text, std::string_view body) {
    if (body.find('\0') != std::string_view::npos) {
        add_binary_body(text, body);
        return;
    }
    while (!body.empty()) {
        const bool ended = contains(body, "\n");
        text += ended ? "     | " : "     \\ ";
        text += escape_line(take_field(body, '\n')) + "\n";
    }
}

void add_files(std::string& text, const World& world) {
    for (const auto& [path, content] : world.files) {
        add_line(text, "file", path);
        add_body(text, *content);
    }
    for (const auto& [line, output] : world.outputs) {
        add_line(text, "output", line);
        add_body(text, output);
    }
    for (const auto& [path, mode] : world.denied) add_words(text, "deny", {path, mode});
}

void add_interfaces(std::string& text, const World& world) {
    for (const auto& [name, interface] : world.interfaces)
        add_words(text, "interface",
                  {name, interface.address.value_or("-"), std::to_string(interface.mtu)});
    for (const auto& [name, address] : world.hosts) add_words(text, "host", {name, address});
}

// A change's setting ends at the first " after ", so that one with these words in it cannot be
// written.
void add_changes(std::string& text, const World& world) {
    constexpr std::string_view after_word = " after ";
    for (const World::Change& change : world.changes) {
        const std::string assignment = change.key + "=" + change.value;
        const std::string line = assignment + std::string(after_word) + change.after;
        if (line.find(after_word) == assignment.size()) add_line(text, "change", line);
    }
}

void add_time(std::string& text, const World& world) {
    const auto seconds = static_cast<time_t>(world.clock_microseconds / 1'000'000);
    tm utc = {};
    gmtime_r(&seconds, &utc);
    text += format("clock  %04d-%02d-%02d %02d:%02d:%02d\n", utc.tm_year + 1900, utc.tm_mon + 1,
                   utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    text += format("uptime  %lld\n", world.uptime_microseconds / 1'000'000);
    text += format("pid  %d\n", world.pid);
}

}  // namespace

std::string case_text(const Case& stated) {
    std::string text = "# " + stated.title + "\n";
    add_words(text, "command", stated.words);
    if (stated.power_on) text += "power-on\n";
    if (!stated.power_on) add_settings(text, "setting", stated.settings);
    if (stated.flash) add_settings(text, "flash", *stated.flash);
    if (stated.factory) add_settings(text, "factory", *stated.factory);
    add_files(text, stated.world);
    for (const auto& [name, value] : stated.world.environment)
        if (!name.empty()) add_line(text, "environment", name + "=" + value);
    add_interfaces(text, stated.world);
    add_changes(text, stated.world);
    add_time(text, stated.world);
    return text + "expect\n";
}
