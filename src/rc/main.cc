// The program rc: one run, then the end.

#include "rc/rc.h"

int main(int argc, char** argv) {
    return rc_main(argc, argv);
}
