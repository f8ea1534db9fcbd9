// The simple commands that a run's shell lines come to, those of the scripts that they run
// included.
#ifndef RC_PLAN_ROUTER_EXECUTED_COMMANDS_H
#define RC_PLAN_ROUTER_EXECUTED_COMMANDS_H

#include <vector>

#include "plan/router/lines.h"
#include "plan/router/shell_script.h"
#include "plan/router/world.h"

struct ExecutedCommand {
    ScriptCommand command;
    // The line of the transcript that has it; the place where its script runs if no line has.
    Origin origin;
};

// In order: commands that run directly, and those of scripts run as "/bin/sh [-x] FILE" or by their
// path, with the file's content at that moment. The world gives the content of files before the
// run.
std::vector<ExecutedCommand> executed_commands(const Transcript& transcript,
                                               const World& before = {});

#endif
