// The DHCP server. Writes /etc/udhcpd.conf and the reservations into /var/udhcpd.leases; runs
// udhcpd.

#include <string.h>

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "core/wan_modes.h"
#include "lan/lan.h"
#include "lan/reservations.h"

namespace {

constexpr long long seconds_a_day = 86400;

// The zero address means "no address", like the empty text.
bool address_given(const Setting& address) {
    return !address.empty() && !address.is("0.0.0.0");
}

// Writes one line for each name server of /etc/resolv.conf. The rest of the line is copied with its
// newline, so an empty line follows each. False if the file has no name server.
bool write_known_name_servers(File& config, File& resolver) {
    bool written = false;
    char line[128];
    while (resolver.read_line(line)) {
        if (!strstr(line, "nameserver")) continue;
        const char* server = strpbrk(line, "0123456789");
        if (!server) continue;
        config.print("option\tdns\t%s\n", server);
        written = true;
    }
    return written;
}

void write_dns_options(File& config, bool extended) {
    const Setting dns = nvram_text("dhcp_dns_ip");
    const Setting lan = nvram_text("lan_ipaddr");
    if (extended && address_given(dns)) {
        config.print("option\tdns\t%s\n", dns.text());
        return;
    }
    File resolver = open_file("/etc/resolv.conf", "r");
    if (!resolver || address_given(dns) || !write_known_name_servers(config, resolver))
        config.print("option\tdns\t%s\n", lan.text());
}

void write_config(File& config) {
    const bool extended = nvram_text("dhcp_server_extended_option").is("enable");
    const Setting lan = nvram_text("lan_ipaddr");
    const Setting gateway = nvram_text("dhcp_gateway_ip");
    const bool own_gateway = extended && address_given(gateway);
    const long long lease_seconds = nvram_text("lan_lease_time").number() * seconds_a_day;

    config.print("server\t\t%s\n", lan.text());
    config.print("start\t\t%s\n", nvram_text("dhcp_start_ip").text());
    config.print("end\t\t%s\n", nvram_text("dhcp_end_ip").text());
    config.print("interface\t%s\n", nvram_text("lan_if").text());
    config.print("option\tsubnet\t%s\n", nvram_text("lan_netmask").text());
    config.print("option\trouter\t%s\n", own_gateway ? gateway.text() : lan.text());
    config.print("option\tlease\t%lld\n", lease_seconds);
    config.print("option\tdomain\t%s\n", nvram_text("wan_domain").text());
    write_dns_options(config, extended);
}

void launch(const char* creating, const char* executing) {
    print_line(creating);
    create_dhcp_server_cfg();
    print_line(executing);
    SYSTEM("/usr/sbin/udhcpd /etc/udhcpd.conf&");
}

}  // namespace

int start_dhcp_server() {
    print("start dhcpd ......");
    const Setting enabled = nvram_text("dhcp_server_enable");
    if (enabled.off()) {
        SYSTEM("/bin/rm -f /var/udhcpd.leases");
        return 0;
    }
    if (!enabled.on()) return 0;

    const Setting mode = nvram_text("wan_mode");
    if (mode.contains(wan_mode::bpa)) {
        launch("start dhcpd ... creat config...", "excute command 1 ...");
        return 0;
    }
    // In the bridge modes, a server on the other side of the bridge serves the LAN.
    if (mode.view().starts_with('b')) return 0;
    launch("start dhcpd ... creat config 2...", "excute command 2 ...");
    return 0;
}

int stop_dhcp_server() {
    platform::run_shell("killall udhcpd");
    return 0;
}

int create_dhcp_server_cfg() {
    {
        File config = open_file("/etc/udhcpd.conf", "w+");
        if (!config) {
            print_line("create dhcpd config -- open config errro ... ");
            return -1;
        }
        write_config(config);
    }
    print_line("create dhcpd config -- ok ... ");

    change_lease();
    const Setting reservations = nvram_text("pcdb_list");
    for (std::string_view rest = reservations.view(); !rest.empty();)
        dhcp_write_leases(take_field(rest, '\x01'));
    return 0;
}
