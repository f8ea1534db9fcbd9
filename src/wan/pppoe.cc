// WAN mode "pppoe". Runs ifconfig, pppd and rc itself.

#include "core/command.h"
#include "core/platform.h"
#include "wan/ppp.h"
#include "wan/wan.h"

int start_pppoe(int flag) {
    const Setting port = wan_port();
    SYSTEM("/sbin/ifconfig %s up", port.text());
    // The port carries the frames; the link's own MTU is pppd's option.
    SYSTEM("/sbin/ifconfig %s mtu 1492", port.text());
    mac_spoofing();
    set_pppd_cmd(ppp_over_ethernet, flag);
    platform::sleep_seconds(4);
    SYSTEM("/usr/sbin/rc service restart");
    return 0;
}
