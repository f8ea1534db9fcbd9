// rcplan's check alone, over whatever program is linked in rc's place.

#include <iostream>

#include "plan/commands.h"

int main(int argc, char** argv) try {
    CLI::App app("Plays case files.");
    int status = status_done;
    add_check(app, status);
    CLI11_PARSE(app, argc, argv);
    return status;
} catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return status_wrong_use;
}
