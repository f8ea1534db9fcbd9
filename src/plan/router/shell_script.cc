// Groups a script's words into commands. Expansions are not carried out, but reported.

#include "plan/router/shell_script.h"

#include <algorithm>

#include "core/shell_line.h"

namespace {

constexpr const char* composed = "the shell composes it with other commands";

// Words that begin and end conditions and loops, whose commands the shell may run any number of
// times.
constexpr std::string_view openings[] = {"if", "while", "until", "for", "case", "{"};
constexpr std::string_view closings[] = {"fi", "done", "esac", "}"};

// Keeps the first reason.
void leave_unread(ScriptCommand& command, const char* reason) {
    if (command.unread.empty()) command.unread = reason;
}

bool ends_command(const ShellPiece& piece) {
    return piece.sign == "\n" || piece.sign == ";" || piece.sign == ";;" || piece.sign == "&";
}

void add_piece(ScriptCommand& command, ShellPiece& piece) {
    if (piece.kind == ShellPiece::Kind::Operator) leave_unread(command, composed);
    if (piece.expansion == '~')
        leave_unread(command, "the shell would expand \"~\"");
    else if (piece.expansion != '\0')
        leave_unread(command, "the shell would expand \"$\" or \"`\"");
    if (piece.unclosed) leave_unread(command, "a quote is not closed");
    if (piece.special.find_first_of("*?[") != std::string::npos) command.pattern = true;
    if (piece.kind == ShellPiece::Kind::Word) command.words.push_back(std::move(piece.text));
}

std::vector<ScriptCommand> simple_commands(std::string_view script) {
    std::vector<ScriptCommand> commands;
    bool in_command = false;
    size_t start = 0;
    size_t line = 1;
    size_t counted = 0;
    for (ShellPiece& piece : shell_pieces(script)) {
        if (piece.kind == ShellPiece::Kind::Operator && ends_command(piece)) {
            in_command = false;
            continue;
        }
        if (!in_command) {
            in_command = true;
            start = piece.at;
            line += static_cast<size_t>(
                std::ranges::count(script.substr(counted, start - counted), '\n'));
            counted = start;
            commands.emplace_back().line = line;
        }
        commands.back().text = script.substr(start, piece.at + piece.size - start);
        add_piece(commands.back(), piece);
    }
    return commands;
}

}  // namespace

std::vector<ScriptCommand> script_commands(std::string_view script) {
    std::vector<ScriptCommand> commands = simple_commands(script);
    std::erase_if(commands, [](const ScriptCommand& command) {
        return command.words.empty() && command.unread.empty();
    });
    long depth = 0;
    for (ScriptCommand& command : commands) {
        for (const std::string& word : command.words)
            depth += std::ranges::count(openings, word) - std::ranges::count(closings, word);
        if (depth > 0) leave_unread(command, composed);
    }
    return commands;
}

bool is_program(std::string_view word, std::string_view name) {
    return word.substr(word.rfind('/') + 1) == name;
}

std::string script_of(const ScriptCommand& command) {
    if (command.words.empty() || !command.unread.empty()) return "";
    size_t script = 0;
    if (is_program(command.words[0], "sh")) script++;
    while (script > 0 && script < command.words.size() && command.words[script] == "-x") script++;
    return script < command.words.size() ? command.words[script] : "";
}
