// rcplan: what rc would do, told before it does it.

#include <iostream>

#include "plan/commands.h"

int main(int argc, char** argv) {
    int status = status_done;
    const std::unique_ptr<CLI::App> app = command_line(status);
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app->exit(error);
        std::cerr << "rcplan: " << error.what() << "\n"
                  << "Try: rcplan --help, or rcplan COMMAND --help\n";
        return status_wrong_use;
    }
    return status;
}
