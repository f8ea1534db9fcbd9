// The WAN dispatcher. No connection mode is built in yet, and it says so.

#include "wan/wan.h"

#include "core/command.h"

int start_wan(int) {
    print_line("wan: this rc has no connection mode built in");
    return -1;
}

int stop_wan() {
    print_line("wan: this rc has no connection mode built in");
    return -1;
}
