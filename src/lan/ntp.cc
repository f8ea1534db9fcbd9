// The time client. Writes the marker /tmp/ntp_start; runs ntp.

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "lan/lan.h"

int start_ntp() {
    platform::run_shell("/bin/echo > /tmp/ntp_start");
    const Setting zone = nvram_text("time_zone");
    if (nvram_text("ntp_custom").off())
        SYSTEM("/usr/sbin/ntp -z %s& ", zone.text());
    else
        SYSTEM("/usr/sbin/ntp -z %s -h %s& ", zone.text(), nvram_text("ntp_server").text());
    if (platform::file_exists("/tmp/wan_uptime")) platform::run_shell("/bin/echo > /tmp/ntp_start");
    return 0;
}

int stop_ntp() {
    SYSTEM("/usr/bin/killall ntp");
    platform::remove_file("/tmp/ntp_start");
    return 0;
}
