// Kernel messages on the console: off while the application runs.

#include "core/platform.h"
#include "lan/lan.h"

namespace {

// Actions of syslog(2).
constexpr int console_off = 6;
constexpr int console_on = 7;

}  // namespace

int start_printk() {
    return platform::kernel_log(console_off);
}

int stop_printk() {
    return platform::kernel_log(console_on);
}
