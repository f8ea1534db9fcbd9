// The multicast proxy on the WAN. Writes the kernel's force_igmp_version; runs IGMPProxy.

#include <string>

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "lan/lan.h"

namespace {

// The suffix of a connection's names: empty for the first, then 1, 2 and so on.
std::string connection_suffix() {
    const Setting port = nvram_text("igmp_port");
    return port.empty() || port.off() ? "" : std::string(1, port.text()[0]);
}

Setting connection_interface(const std::string& suffix) {
    return nvram_text(("wan_ifname" + suffix).c_str());
}

}  // namespace

int start_igmp() {
    if (!nvram_text("igmp_enable").on()) return 0;
    const std::string suffix = connection_suffix();
    const Setting ifname = connection_interface(suffix);
    // A WAN that comes up later restarts the services.
    if (!platform::file_exists(("/tmp/wan_uptime" + suffix).c_str())) return 0;

    const Setting version = nvram_text("igmp_version");
    SYSTEM("/bin/echo %s > /proc/sys/net/ipv4/conf/%s/force_igmp_version",
           version.empty() ? "2" : version.text(), ifname.text());
    SYSTEM("/usr/sbin/IGMPProxy -n %s&", ifname.text());
    return 0;
}

int stop_igmp() {
    const Setting ifname = connection_interface(connection_suffix());
    SYSTEM("/bin/echo 0 > /proc/sys/net/ipv4/conf/%s/force_igmp_version", ifname.text());
    SYSTEM("/usr/bin/killall IGMPProxy");
    platform::sleep_seconds(1);
    return 0;
}
