// The shell lines that the recording platform carries out itself: those whose effect on files later
// steps read, and nested runs of rc.
#ifndef RC_PLAN_ROUTER_SHELL_EFFECTS_H
#define RC_PLAN_ROUTER_SHELL_EFFECTS_H

#include <string>
#include <vector>

#include "plan/router/world.h"

// The effect on files of a shell line whose result later steps read: echo, cp, rm, and a
// redirection of what the world states that a program prints. Lines that are more than that have
// none.
void apply_file_effects(World& world, const std::string& line);

// The words of a nested "/usr/sbin/rc ..." line, redirections and "&" left out; empty for any other
// line.
std::vector<std::string> nested_words(const std::string& line);

#endif
