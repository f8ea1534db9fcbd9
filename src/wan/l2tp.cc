// WAN mode "l2tp": first an address on the physical port, then l2tpd. Runs ifconfig, udhcpc, l2tpd.
//
// With an address by DHCP the first start only starts udhcpc; its event script starts the WAN
// again.

#include "core/command.h"
#include "core/platform.h"
#include "core/text.h"
#include "wan/ppp.h"
#include "wan/wan.h"

int start_l2tp(int flag) {
    const bool fixed = nvram_value("l2tp_type").number() == 1;
    const Setting own = nvram_value("l2tp_ipaddr");
    platform::run_shell("/usr/bin/killall -9 l2tpd &");

    const Setting port = wan_port();
    std::optional<std::string> address = getIPAddress(port.text());
    if (fixed) {
        mac_spoofing();
        SYSTEM("/sbin/ifconfig %s %s netmask %s", port.text(), own.text(),
               nvram_value("l2tp_netmask").text());
        address = own.text();
    } else {
        platform::set_environment("SERVER", nvram_value("l2tp_server").text());
        std::optional<std::string> processes;
        myPipe("/bin/ps -ax", processes);
        if (!contains(processes.value_or(""), "udhcpc")) {
            mac_spoofing();
            SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.l2tp.script &", port.text());
            return 0;
        }
        if (!usable_address(address)) SYSTEM("/usr/bin/killall -SIGUSR1 udhcpc");
    }
    if (!usable_address(address)) return 0;
    set_pppd_cmd(ppp_over_l2tp, flag);
    return 0;
}
