// The RIP daemon. Runs routed, which reads /etc/gateways and puts itself in the background.

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"

int start_rip_daemon() {
    const Setting direction = nvram_text("rt_rip_direction");
    if (direction.off()) return 0;
    const char way = direction.text()[0];

    std::string command = format("/usr/sbin/routed %s -v ", nvram_text("wan_ifname").text());
    const Setting version = nvram_text("rt_rip_version");
    if (version.view().starts_with('2')) {
        command += "2";
        if (version.text()[1] == 'B') command += " -b";
    } else {
        command += version.text();
    }
    command += way == 'i' ? " -x" : " -z";
    command += way == 'o' ? " -r -s" : " -s";
    print_line(command.c_str());
    platform::run_shell(command.c_str());
    return 0;
}

int stop_rip_daemon() {
    platform::run_shell("killall routed");
    return 0;
}

// The daemon has no configuration file to create.
int create_rip_daemon_cfg() {
    return 0;
}
