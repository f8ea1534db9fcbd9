// WAN mode "ras". Runs rasmonitor, which runs the login client.

#include "core/platform.h"
#include "wan/wan.h"

int start_ras(int) {
    mac_spoofing();
    const Setting dials_on_demand = nvram_text("ras_dod");
    platform::sleep_seconds(2);
    platform::run_shell("/usr/sbin/rasmonitor &");
    if (dials_on_demand.on()) {
        platform::sleep_seconds(1);
        platform::run_shell("/usr/bin/killall -SIGUSR1 rasmonitor ");
    }
    return 0;
}
