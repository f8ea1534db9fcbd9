// rcplan: shows what rc would do, without doing it.

#include "rcplan/command_line.h"

int main(int argc, char** argv) {
    return run_command_line(argc, argv);
}
