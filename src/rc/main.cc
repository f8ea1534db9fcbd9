// The program rc: one run.

#include "core/platform.h"
#include "rc/rc.h"

int main(int argc, char** argv) {
    platform::prepare_process();
    return rc_main(argc, argv);
}
