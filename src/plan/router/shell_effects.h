// The shell lines that the recording platform carries out itself: those whose effect on files later
// steps read, and nested runs of rc.
#ifndef RC_PLAN_ROUTER_SHELL_EFFECTS_H
#define RC_PLAN_ROUTER_SHELL_EFFECTS_H

#include <optional>
#include <string>
#include <vector>

#include "plan/router/world.h"

// What a line does to one file.
struct FileEffect {
    std::string path;
    // What it holds then; nothing when it is gone.
    std::optional<std::string> content;
    // The file that it is a copy of; empty for any other.
    std::string copied_from;
};

// The effects, in order, of a shell line whose result later steps read: echo, cp, rm, and a
// redirection of what the world states that a program prints. Lines that are more than that have
// none.
std::vector<FileEffect> file_effects(const World& world, const std::string& line);
void apply_file_effect(World& world, const FileEffect& effect);
void apply_file_effects(World& world, const std::string& line);

// The words of a nested "/usr/sbin/rc ..." line, redirections and "&" left out; empty for any other
// line.
std::vector<std::string> nested_words(const std::string& line);

#endif
