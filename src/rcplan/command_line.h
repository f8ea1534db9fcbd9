// rcplan's command line.
#ifndef RC_RCPLAN_COMMAND_LINE_H
#define RC_RCPLAN_COMMAND_LINE_H

#include <memory>

namespace CLI {
class App;
}

// All verbs with their options; parsing runs the verb and stores its exit status. Callers include
// <CLI/CLI.hpp>.
std::unique_ptr<CLI::App> command_line(int& status);

// Parses the words and runs the verb. Returns the exit status.
int run_command_line(int argc, char** argv);

#endif
