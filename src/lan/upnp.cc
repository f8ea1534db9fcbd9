// The UPnP daemon. Runs route and upnpd.

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"

int start_upnp() {
    SYSTEM("/usr/bin/killall -9 upnpd");
    if (!nvram_text("upnp_enable").on()) return 0;
    const Setting lan_if = nvram_text("lan_if");
    SYSTEM("route add -net 239.0.0.0 netmask 255.0.0.0 %s", lan_if.text());
    SYSTEM_collapsed(format("%s %s %s %s %s&", "/usr/sbin/upnpd", nvram_text("wan_ifname").text(),
                            lan_if.text(), nvram_text("upnp_adv_time").text(),
                            nvram_text("upnp_ttl").text()));
    return 0;
}

int stop_upnp() {
    SYSTEM("/usr/bin/killall -9 upnpd");
    platform::remove_file("/tmp/upnptab");
    platform::sleep_seconds(3);
    const std::string command =
        format("route del -net 239.0.0.0 netmask 255.0.0.0 %s", nvram_text("lan_if").text());
    print("%s", command.c_str());
    SYSTEM("%s", command.c_str());
    return 0;
}
