// The shell lines whose effect on files the recording platform carries out: echo, cp, rm, and what
// a program prints into a file.

#include "plan/router/shell_effects.h"

#include <optional>
#include <span>

#include "core/text.h"
#include "plan/router/recording.h"

namespace {

// A line of plain words with redirections: no expansion, no list of commands. Such a line means to
// any shell what it means here.
struct PlainCommand {
    std::vector<std::string> words;
    std::string redirect_to;
    bool append = false;
};

// Reads one word at the start of rest. Nothing when it holds what a shell would expand.
std::optional<std::string> take_word(std::string_view& rest) {
    std::string word;
    char quote = '\0';
    while (!rest.empty()) {
        const char c = rest.front();
        if (quote == '\0' && contains(" \t<>&", {&c, 1})) break;
        if (quote == '\0' && contains("|;()*?[]#~{}!\n", {&c, 1})) return std::nullopt;
        if (quote != '\'' && contains("$`\\", {&c, 1})) return std::nullopt;
        rest.remove_prefix(1);
        if (c == quote) {
            quote = '\0';
        } else if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
        } else {
            word += c;
        }
    }
    if (quote != '\0') return std::nullopt;
    return word;
}

void skip_blanks(std::string_view& rest) {
    while (!rest.empty() && contains(" \t", rest.substr(0, 1))) rest.remove_prefix(1);
}

std::optional<PlainCommand> parse_plain(std::string_view rest) {
    PlainCommand command;
    for (skip_blanks(rest); !rest.empty(); skip_blanks(rest)) {
        if (rest == "&") break;
        if (rest.starts_with("2>&1")) {
            rest.remove_prefix(4);
        } else if (rest.front() == '>') {
            command.append = rest.starts_with(">>");
            rest.remove_prefix(command.append ? 2 : 1);
            skip_blanks(rest);
            const std::optional<std::string> target = take_word(rest);
            if (!target || target->empty()) return std::nullopt;
            command.redirect_to = *target;
        } else if (contains("<&", rest.substr(0, 1))) {
            // rc's own "& >/dev/null" leaves an empty second command behind.
            if (!rest.starts_with("& >")) return std::nullopt;
            rest.remove_prefix(2);
        } else {
            const std::optional<std::string> word = take_word(rest);
            if (!word) return std::nullopt;
            command.words.push_back(*word);
        }
    }
    return command;
}

// Into the file that is there, as programs do: rc may have it open.
void overwrite(World& world, const std::string& path, std::string content) {
    const auto found = world.files.find(path);
    if (found == world.files.end())
        world.put(path, std::move(content));
    else
        *found->second = std::move(content);
}

void put_redirected(World& world, const PlainCommand& command, const std::string& text) {
    const std::string& path = command.redirect_to;
    if (path.empty() || path == "/dev/null" || !path_fits(path)) return;
    const std::string* before = world.get(path);
    overwrite(world, path, (command.append && before ? *before : "") + text);
}

std::string joined(std::span<const std::string> words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

void echo(World& world, const PlainCommand& command) {
    put_redirected(world, command, joined(std::span(command.words).subspan(1)) + "\n");
}

void copy(World& world, const std::string& from, const std::string& to) {
    const std::optional<std::string> content = file_content(world, from);
    if (content && path_fits(to)) overwrite(world, to, *content);
}

}  // namespace

void apply_file_effects(World& world, const std::string& line) {
    std::optional<PlainCommand> command = parse_plain(line);
    if (!command || command->words.empty()) return;
    std::vector<std::string>& words = command->words;
    const std::string program_line = joined(words);
    if (words[0].ends_with("busybox") && words.size() > 1) words.erase(words.begin());

    const std::string name = words[0].substr(words[0].rfind('/') + 1);
    if (name == "echo") {
        // What echo makes of options differs between shells.
        if (words.size() < 2 || !words[1].starts_with('-')) echo(world, *command);
    } else if (name == "cp") {
        if (words.size() == 4 && words[1] == "-f") words.erase(words.begin() + 1);
        if (words.size() == 3) copy(world, words[1], words[2]);
    } else if (name == "rm") {
        for (size_t i = 1; i < words.size(); i++) world.files.erase(words[i]);
    } else {
        const auto stated = world.outputs.find(program_line);
        put_redirected(world, *command, stated == world.outputs.end() ? "" : stated->second);
    }
}

std::vector<std::string> nested_words(const std::string& line) {
    if (!line.starts_with("/usr/sbin/rc ")) return {};
    const std::optional<PlainCommand> command = parse_plain(line);
    return command ? command->words : std::vector<std::string>{};
}
