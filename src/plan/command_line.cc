// rcplan's command line, put together from its commands.

#include "plan/commands.h"

std::unique_ptr<CLI::App> command_line(int& status) {
    auto app = std::make_unique<CLI::App>("Shows what the router's rc would do, without doing it.",
                                          "rcplan");
    app->set_version_flag("--version", "rcplan " RC_VERSION);
    app->require_subcommand(1);
    app->footer(
        "Exit status: 0 done, 1 something differs, 2 wrong use or an unreadable file.\n"
        "rcplan COMMAND --help tells a command's options; rcplan(1) tells the rest.");
    add_run(*app, status);
    add_diff(*app, status);
    add_sinks(*app, status);
    add_report(*app, status);
    add_packet(*app, status);
    add_check(*app, status);
    return app;
}
