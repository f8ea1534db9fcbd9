// rcplan's check alone, over whatever program is linked in rc's place.

#include "plan/commands.h"

int main(int argc, char** argv) {
    CLI::App app("Plays case files.");
    int status = status_done;
    add_check(app, status);
    CLI11_PARSE(app, argc, argv);
    return status;
}
