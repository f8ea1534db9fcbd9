// WAN mode "pptp": first an address on the physical port, then pppd over pptp. Writes
// /etc/resolv.conf, /tmp/pptp_domain and /tmp/gw_route; runs ifconfig, route, udhcpc and pppd.
//
// With an address by DHCP each start does only one step: it starts udhcpc, or makes it renew its
// lease, or dials. The client's event script starts the WAN again.

#include <arpa/inet.h>
#include <string.h>

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "core/text.h"
#include "libnvram/libnvram.h"
#include "wan/ppp.h"
#include "wan/wan.h"

namespace {

constexpr const char* route_dump = "/tmp/gw_route";

bool dump_shows_gateway() {
    File routes = open_file(route_dump, "r");
    if (!routes) return false;
    char line[128];
    while (routes.read_line(line))
        if (strstr(line, "UG") && strstr(line, "0.0.0.0")) return true;
    return false;
}

void set_fixed_address(const Setting& port, const Setting& address) {
    mac_spoofing();
    SYSTEM("/sbin/ifconfig %s %s netmask %s", port.text(), address.text(),
           nvram_text("pptp_fix_netmask").text());
    SYSTEM("/sbin/route del default");
    SYSTEM("/sbin/route add default gw %s", nvram_text("pptp_fix_gateway").text());
    SYSTEM("/bin/echo \"nameserver %s\" > /etc/resolv.conf", nvram_text("pptp_wan_dns1").text());
}

// Whether the port has a leased address and a gateway; if not, takes the next step towards them.
bool leased_address_ready(const Setting& port, const std::optional<std::string>& address) {
    platform::set_environment("SERVER", nvram_text("pptp_server").text());
    std::optional<std::string> processes;
    myPipe("/bin/ps -ax", processes);
    if (!contains(processes.value_or(""), "udhcpc")) {
        mac_spoofing();
        SYSTEM("/sbin/route del default");
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.pptp.domain.script &", port.text());
        return false;
    }
    if (!usable_address(address) || have_gw() != 0) {
        SYSTEM("/usr/bin/killall -SIGUSR1 udhcpc");
        return false;
    }
    return true;
}

// Sets the server's setting to the address of its name, or to the empty text if the name has no
// address.
bool resolve_server() {
    SYSTEM("/bin/cp /proc/uptime /tmp/pptp_domain");
    std::string address;
    const bool resolved =
        hostnametoip(address, nvram_text("pptp_server_domain").text()) && !address.empty();
    nvram_zel_set("pptp_server", resolved ? address.c_str() : "");
    platform::remove_file("/tmp/pptp_domain");
    return resolved;
}

// The tunnel's own packets must keep to the physical link.
void add_server_route() {
    const Setting server = nvram_text("pptp_server");
    const Setting gateway = nvram_text("pptp_fix_gateway");
    SYSTEM("/sbin/route del %s gw %s", server.text(), gateway.text());
    SYSTEM("/sbin/route add %s gw %s", server.text(), gateway.text());
}

}  // namespace

bool hostnametoip(std::string& dst, const char* name) {
    platform::HostAddress host = {};
    if (!platform::look_up_host(name, host)) return false;
    if (host.family != AF_INET && host.family != AF_INET6) return false;
    char text[32];
    if (!inet_ntop(host.family, host.bytes.data(), text, sizeof text)) return false;
    dst = text;
    return true;
}

int have_gw() {
    // Written in the background and read at once: a missing table counts as no gateway.
    platform::run_shell("/sbin/route -n > /tmp/gw_route&");
    const bool found = dump_shows_gateway();
    platform::remove_file(route_dump);
    return found ? 0 : -1;
}

int start_pptp(int flag) {
    const bool fixed = nvram_text("pptp_type").number() == 1;
    const Setting port = wan_port();
    std::optional<std::string> address = getIPAddress(port.text());
    if (fixed) {
        const Setting own = nvram_text("pptp_ipaddr");
        set_fixed_address(port, own);
        address = own.text();
    } else if (!leased_address_ready(port, address)) {
        return 0;
    }

    SYSTEM("route -n");
    const bool by_name = nvram_text("pptp_server_type").view().starts_with('d');
    const bool server_known = !by_name || resolve_server();
    if (!usable_address(address) || !server_known) return 0;

    // pppd's own default route goes through the tunnel.
    SYSTEM("/sbin/route del default");
    if (fixed) add_server_route();
    set_pppd_cmd(ppp_over_pptp, flag);
    return 0;
}
