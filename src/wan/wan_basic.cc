// Set-up of every WAN once it is up: MTU, fixed name servers, the time client's marker. Writes
// /etc/resolv.conf and /tmp/ntp_start; runs ifconfig.

#include "core/command.h"
#include "core/platform.h"
#include "core/wan_modes.h"
#include "wan/wan.h"

namespace {

// The shortest dotted quad, 1.1.1.1.
constexpr size_t shortest_address = 7;

bool long_enough(const Setting& server) {
    return server.view().size() >= shortest_address;
}

void write_fixed_name_servers() {
    const Setting first = nvram_text("wan_dns1");
    if (long_enough(first)) SYSTEM("/bin/echo \"nameserver %s\" > /etc/resolv.conf", first.text());
    for (const char* key : {"wan_dns2", "wan_dns3"}) {
        const Setting next = nvram_text(key);
        if (long_enough(next))
            SYSTEM("/bin/echo \"nameserver %s\" >> /etc/resolv.conf", next.text());
    }
}

// The dispatcher has no mode "static": its mode with a fixed address is "ip", which uses "wan_mtu".
const char* mtu_key(const Setting& mode) {
    if (mode.is("static")) return "static_mtu";
    if (mode.is(wan_mode::l2tp)) return "l2tp_mtu";
    return "wan_mtu";
}

}  // namespace

int set_mtu() {
    const Setting mode = nvram_text("wan_mode");
    // pppd sets the MTU of these links itself.
    if (mode.is(wan_mode::pptp) || mode.is(wan_mode::pppoe)) return 0;
    SYSTEM("/sbin/ifconfig %s mtu %s", nvram_text("wan_ifname").text(),
           nvram_text(mtu_key(mode)).text());
    return 0;
}

int start_wan_basic() {
    set_mtu();
    if (nvram_text("wan_fix_dns").on()) write_fixed_name_servers();
    platform::run_shell("/bin/echo > /tmp/ntp_start");
    return 0;
}

int stop_wan_basic() {
    platform::remove_file("/tmp/ntp_start");
    return 0;
}
