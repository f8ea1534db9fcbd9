// A script as the router's shell reads it: simple commands, one after the other, and the scripts
// that they run.
#ifndef RC_PLAN_ROUTER_SHELL_SCRIPT_H
#define RC_PLAN_ROUTER_SHELL_SCRIPT_H

#include <string>
#include <string_view>
#include <vector>

struct ScriptCommand {
    // Quotes are taken off, redirections left out.
    std::vector<std::string> words;
    // The line that it begins on, from 1.
    size_t line = 1;
    // As it stands in the script.
    std::string text;
    // Why the words are not certain: what the shell would expand or compose here. Empty when they
    // are certain.
    std::string unread;
    // A word holds "*", "?" or "[" outside of quotes: it stands for the names of files where such
    // files are there, otherwise for itself.
    bool pattern = false;
};

std::vector<ScriptCommand> script_commands(std::string_view script);

// Whether a command's first word names this program, with its folder or without.
bool is_program(std::string_view word, std::string_view name);

// The file that a command runs: that of "sh [-x] FILE", otherwise its first word. Empty when the
// words are not certain or there is none.
std::string script_of(const ScriptCommand& command);

#endif
