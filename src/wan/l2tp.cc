// WAN mode "l2tp": first an address on the physical port, then l2tpd. Runs ifconfig, udhcpc, l2tpd.
//
// With an address by DHCP the first start only starts udhcpc; its event script starts the WAN
// again.

#include "core/command.h"
#include "core/platform.h"
#include "wan/ppp.h"
#include "wan/wan.h"

namespace {

// Read together at the start: a save while a command runs must not mix two configurations.
struct L2tpSettings {
    bool fixed = nvram_value("l2tp_type").number() == 1;
    Setting address = nvram_value("l2tp_ipaddr");
    Setting netmask = nvram_value("l2tp_netmask");
    Setting server = nvram_value("l2tp_server");
    Setting port = wan_port();
};

}  // namespace

int start_l2tp(int flag) {
    const L2tpSettings l2tp;
    platform::run_shell("/usr/bin/killall -9 l2tpd &");

    std::optional<std::string> address = getIPAddress(l2tp.port.text());
    if (l2tp.fixed) {
        mac_spoofing();
        SYSTEM("/sbin/ifconfig %s %s netmask %s", l2tp.port.text(), l2tp.address.text(),
               l2tp.netmask.text());
        address = l2tp.address.text();
    } else {
        platform::set_environment("SERVER", l2tp.server.text());
        if (!ProcessList().names("udhcpc")) {
            mac_spoofing();
            SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.l2tp.script &", l2tp.port.text());
            return 0;
        }
        if (!usable_address(address)) SYSTEM("/usr/bin/killall -SIGUSR1 udhcpc");
    }
    if (!usable_address(address)) return 0;
    set_pppd_cmd(ppp_over_l2tp, flag);
    return 0;
}
