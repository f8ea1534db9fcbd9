// A script as the router's shell reads it: a sequence of simple commands, and the scripts that they
// run.
#ifndef RC_PLAN_ROUTER_SHELL_SCRIPT_H
#define RC_PLAN_ROUTER_SHELL_SCRIPT_H

#include <string>
#include <string_view>
#include <vector>

struct ScriptCommand {
    // Without quotes and redirections.
    std::vector<std::string> words;
    // The number of the line on which it begins, from 1.
    size_t line = 1;
    // As in the script.
    std::string text;
    // The reason if the words are uncertain: the text that the shell would expand or compose. Empty
    // if they are certain.
    std::string unread;
    // A word contains "*", "?" or "[" outside quotes: the shell replaces it by the names of files
    // that match, if any.
    bool pattern = false;
};

std::vector<ScriptCommand> script_commands(std::string_view script);

// Whether a command's first word names this program, with or without its folder.
bool is_program(std::string_view word, std::string_view name);

// The file that a command runs: FILE of "sh [-x] FILE", otherwise the first word. Empty if the
// words are uncertain or empty.
std::string script_of(const ScriptCommand& command);

#endif
