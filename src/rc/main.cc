// The program rc: one run.

#include "rc/rc.h"

int main(int argc, char** argv) {
    return rc_main(argc, argv);
}
