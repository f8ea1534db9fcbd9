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
#include "libnvram/libnvram.h"
#include "wan/ppp.h"
#include "wan/wan.h"

namespace {

constexpr const char* route_dump = "/tmp/gw_route";

// Read together at the start: a save while a command runs must not mix two configurations.
struct PptpSettings {
    bool fixed = nvram_text("pptp_type").number() == 1;
    Setting address = nvram_text("pptp_ipaddr");
    Setting netmask = nvram_text("pptp_fix_netmask");
    Setting gateway = nvram_text("pptp_fix_gateway");
    Setting name_server = nvram_text("pptp_wan_dns1");
    Setting server = nvram_text("pptp_server");
    bool by_name = nvram_text("pptp_server_type").view().starts_with('d');
    Setting server_name = nvram_text("pptp_server_domain");
    Setting port = wan_port();
};

bool dump_shows_gateway() {
    File routes = open_file(route_dump, "r");
    if (!routes) return false;
    char line[128];
    while (routes.read_line(line))
        if (strstr(line, "UG") && strstr(line, "0.0.0.0")) return true;
    return false;
}

void set_fixed_address(const PptpSettings& pptp) {
    mac_spoofing();
    SYSTEM("/sbin/ifconfig %s %s netmask %s", pptp.port.text(), pptp.address.text(),
           pptp.netmask.text());
    SYSTEM("/sbin/route del default");
    SYSTEM("/sbin/route add default gw %s", pptp.gateway.text());
    SYSTEM("/bin/echo \"nameserver %s\" > /etc/resolv.conf", pptp.name_server.text());
}

// Whether the port has a leased address and a gateway; if not, takes the next step towards them.
bool leased_address_ready(const PptpSettings& pptp, const std::optional<std::string>& address) {
    platform::set_environment("SERVER", pptp.server.text());
    if (!ProcessList().names("udhcpc")) {
        mac_spoofing();
        SYSTEM("/sbin/route del default");
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.pptp.domain.script &", pptp.port.text());
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
bool resolve_server(const Setting& name) {
    SYSTEM("/bin/cp /proc/uptime /tmp/pptp_domain");
    std::string address;
    const bool resolved = hostnametoip(address, name.text()) && !address.empty();
    nvram_zel_set("pptp_server", resolved ? address.c_str() : "");
    platform::remove_file("/tmp/pptp_domain");
    return resolved;
}

// The tunnel's own packets must keep to the physical link. The server is read again, because
// resolve_server may have set it.
void add_server_route(const Setting& gateway) {
    const Setting server = nvram_text("pptp_server");
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
    const PptpSettings pptp;
    std::optional<std::string> address = getIPAddress(pptp.port.text());
    if (pptp.fixed) {
        set_fixed_address(pptp);
        address = pptp.address.text();
    } else if (!leased_address_ready(pptp, address)) {
        return 0;
    }

    SYSTEM("route -n");
    const bool server_known = !pptp.by_name || resolve_server(pptp.server_name);
    if (!usable_address(address) || !server_known) return 0;

    // pppd's own default route goes through the tunnel.
    SYSTEM("/sbin/route del default");
    if (pptp.fixed) add_server_route(pptp.gateway);
    set_pppd_cmd(ppp_over_pptp, flag);
    return 0;
}
