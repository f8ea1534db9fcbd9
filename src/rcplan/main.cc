// rcplan: dry runs of rc and their evaluation.

#include "rcplan/command_line.h"

int main(int argc, char** argv) {
    return run_command_line(argc, argv);
}
