// The shell lines whose effect on files the recording platform carries out: echo, cp, rm, and
// redirected output.

#include "plan/router/shell_effects.h"

#include <optional>
#include <span>

#include "core/shell_line.h"
#include "plan/router/recording.h"

namespace {

// The target of a program's output, or another file that it writes.
struct Redirection {
    std::string path;
    bool append = false;
    bool output = false;
};

// A line of plain words with redirections, without expansions and lists of commands. Every shell
// reads such a line in the same way.
struct PlainCommand {
    std::vector<std::string> words;
    std::vector<Redirection> redirections;
};

bool add_redirection(PlainCommand& command, const ShellPiece& piece) {
    // The world states no error output, so its redirection is ignored.
    if (piece.descriptor == "2" && piece.sign == ">&" && piece.text == "1") return true;
    const bool append = piece.sign == ">>";
    if ((!append && piece.sign != ">") || piece.text.empty()) return false;
    const bool output = piece.descriptor.empty() || piece.descriptor == "1";
    command.redirections.push_back({.path = piece.text, .append = append, .output = output});
    return true;
}

std::optional<PlainCommand> parse_plain(std::string_view line) {
    PlainCommand command;
    bool ended = false;
    for (const ShellPiece& piece : shell_pieces(line)) {
        if (!piece.special.empty() || piece.unclosed) return std::nullopt;
        const bool redirects = piece.kind == ShellPiece::Kind::Redirection;
        // rc's "& >/dev/null" has an empty second command.
        if (ended && !redirects) return std::nullopt;
        if (piece.kind == ShellPiece::Kind::Word) {
            command.words.push_back(piece.text);
        } else if (redirects) {
            if (!add_redirection(command, piece)) return std::nullopt;
            if (ended) command.redirections.back().output = false;
        } else if (piece.sign == "&") {
            ended = true;
        } else {
            return std::nullopt;
        }
    }
    return command;
}

// A redirection creates its file even if nothing is printed.
std::vector<FileEffect> redirected(const World& world, const PlainCommand& command,
                                   const std::string& output) {
    std::vector<FileEffect> effects;
    const auto open = [&](const Redirection& redirection, const std::string& text) {
        const std::string& path = redirection.path;
        if (path == "/dev/null" || !path_fits(path)) return;
        const std::string* before = redirection.append ? world.get(path) : nullptr;
        effects.push_back(
            {.path = path, .content = (before ? *before : "") + text, .copied_from = ""});
    };
    const Redirection* last = nullptr;
    for (const Redirection& redirection : command.redirections)
        if (redirection.output) last = &redirection;
    for (const Redirection& redirection : command.redirections)
        if (&redirection != last) open(redirection, "");
    if (last) open(*last, output);
    return effects;
}

std::string joined(std::span<const std::string> words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<FileEffect> copied(const World& world, const std::string& from, const std::string& to) {
    const std::optional<std::string> content = file_content(world, from);
    if (!content || !path_fits(to)) return {};
    return {{.path = to, .content = content, .copied_from = from}};
}

std::vector<FileEffect> removed(const World& world, std::span<const std::string> paths) {
    std::vector<FileEffect> effects;
    for (const std::string& path : paths)
        if (world.get(path))
            effects.push_back({.path = path, .content = std::nullopt, .copied_from = ""});
    return effects;
}

}  // namespace

std::vector<FileEffect> file_effects(const World& world, const std::string& line) {
    std::optional<PlainCommand> command = parse_plain(line);
    if (!command || command->words.empty()) return {};
    std::vector<std::string>& words = command->words;
    const std::string program_line = joined(words);
    if (words[0].ends_with("busybox") && words.size() > 1) words.erase(words.begin());

    const std::string name = words[0].substr(words[0].rfind('/') + 1);
    if (name == "echo") {
        // Shells differ in the options of echo.
        if (words.size() >= 2 && words[1].starts_with('-')) return {};
        return redirected(world, *command, joined(std::span(words).subspan(1)) + "\n");
    }
    if (name == "cp") {
        if (words.size() == 4 && words[1] == "-f") words.erase(words.begin() + 1);
        if (words.size() != 3) return {};
        return copied(world, words[1], words[2]);
    }
    if (name == "rm") return removed(world, std::span(words).subspan(1));
    const auto stated = world.outputs.find(program_line);
    return redirected(world, *command, stated == world.outputs.end() ? "" : stated->second);
}

void apply_file_effect(World& world, const FileEffect& effect) {
    const auto found = world.files.find(effect.path);
    const bool is_image = effect.path == working_copy || effect.path == flash_image;
    if (!effect.content)
        world.files.erase(effect.path);
    else if (found == world.files.end() || is_image)
        world.put(effect.path, *effect.content);
    else
        // Overwrites the existing file as programs do, because rc may have it open.
        *found->second = *effect.content;
}

void apply_file_effects(World& world, const std::string& line) {
    for (const FileEffect& effect : file_effects(world, line)) apply_file_effect(world, effect);
}

std::vector<std::string> nested_words(const std::string& line) {
    if (!line.starts_with("/usr/sbin/rc ")) return {};
    const std::optional<PlainCommand> command = parse_plain(line);
    return command ? command->words : std::vector<std::string>{};
}
