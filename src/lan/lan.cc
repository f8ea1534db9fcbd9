// The LAN's addresses. Runs ifconfig on the port eth2.1 and the bridge, route in access-point mode.
// The boot script has made both interfaces.

#include "lan/lan.h"

#include "core/command.h"
#include "core/nvram.h"

namespace {

void set_lan_address() {
    SYSTEM("/sbin/ifconfig %s %s netmask %s broadcast %s", nvram_text("lan_if").text(),
           nvram_text("lan_ipaddr").text(), nvram_text("lan_netmask").text(),
           nvram_text("lan_bipaddr").text());
}

}  // namespace

int start_lan() {
    SYSTEM("/sbin/ifconfig eth2.1 down");
    SYSTEM("/sbin/ifconfig eth2.1 hw ether %s", nvram_text("lan_assign_mac").text());
    SYSTEM("/sbin/ifconfig eth2.1 up");
    set_lan_address();

    const Setting gateway = nvram_text("ap_gateway");
    if (nvram_text("ap_mode").on() && !gateway.empty())
        SYSTEM("/sbin/route add default gw %s", gateway.text());

    // Set again on purpose: before and after the default route.
    set_lan_address();
    return 0;
}
