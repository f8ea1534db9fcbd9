// The shell lines that the recording platform carries out itself: those whose effect on files later
// steps read, and nested runs of rc.
#ifndef RC_PLAN_ROUTER_SHELL_EFFECTS_H
#define RC_PLAN_ROUTER_SHELL_EFFECTS_H

#include <optional>
#include <string>
#include <vector>

#include "plan/router/world.h"

// The effect of a line on one file.
struct FileEffect {
    std::string path;
    // The new content; nullopt if the file is removed.
    std::optional<std::string> content;
    // The file of which it is a copy; empty if it is not a copy.
    std::string copied_from;
};

// The effects, in order, of a shell line whose result later steps read: echo, cp, rm, and the
// redirection of a program's output that the world states. Empty for all other lines.
std::vector<FileEffect> file_effects(const World& world, const std::string& line);
void apply_file_effect(World& world, const FileEffect& effect);
void apply_file_effects(World& world, const std::string& line);

// The words of a nested "/usr/sbin/rc ..." line, without redirections and "&"; empty for any other
// line.
std::vector<std::string> nested_words(const std::string& line);

#endif
