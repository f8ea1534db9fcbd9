// rcplan: what rc would do, told before it does it.

#include <iostream>

#include "plan/commands.h"

int main(int argc, char** argv) {
    CLI::App app("Shows what the router's rc would do, without doing it.", "rcplan");
    app.set_version_flag("--version", "rcplan " RC_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 something differs, 2 wrong use or an unreadable file.\n"
        "rcplan COMMAND --help tells a command's options; rcplan(1) tells the rest.");
    int status = status_done;
    add_run(app, status);
    add_sinks(app, status);
    add_check(app, status);
    add_report(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        std::cerr << "rcplan: " << error.what() << "\n"
                  << "Try: rcplan --help, or rcplan COMMAND --help\n";
        return status_wrong_use;
    }
    return status;
}
