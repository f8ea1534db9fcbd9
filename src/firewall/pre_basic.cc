// The first rules of NAT: broadcast DHCP answers, spoofed destinations, the DNS relay, remote
// management. Reads /etc/resolv.conf.

#include <string.h>

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/wan_modes.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"

namespace {

// The column of the address in a line of /etc/resolv.conf.
constexpr size_t name_server_column = sizeof "nameserver " - 1;

// Read together before the first rule.
struct PreBasicSettings {
    Setting wan = nvram_text("wan_ifname");
    std::string wan_address = address_of(wan.text());
    Setting lan = nvram_text("lan_if");
    Setting remote = nvram_text("fw_remote");
    Setting remote_type = nvram_text("fw_remote_type");
    Setting remote_port = nvram_text("fw_remote_port");
    Setting mode = nvram_text("wan_mode");
    Setting nat = nvram_text("fw_nat");
    Setting lan_address = nvram_text("lan_ipaddr");
};

// Each rule is inserted at the head of the chain, so the first server's rule ends last and takes
// the packets that the others, which match at random, leave. The newline of the line in
// /etc/resolv.conf makes an empty line after each rule.
void write_dns_relay(const Setting& lan_address) {
    File resolver = open_file("/etc/resolv.conf", "r");
    if (!resolver) return;
    bool first = true;
    char line[128];
    while (resolver.read_line(line)) {
        if (!strstr(line, "nameserver")) continue;
        const char* server = strlen(line) > name_server_column ? line + name_server_column : "";
        fw_rule("-I DNS -t nat %s -d %s -j DNAT --to %s", first ? "" : "-m random",
                lan_address.text(), server);
        first = false;
    }
}

// The web server, reachable from outside on a separate port.
void write_remote_management(const PreBasicSettings& from) {
    if (!from.remote.on()) return;
    const char* wan = from.wan.text();
    const char* port = from.remote_port.text();
    const char* wan_address = from.wan_address.c_str();
    const char* lan_address = from.lan_address.text();
    switch (from.remote_type.text()[0]) {
        case '1':
            fw_rule("-t nat -A PRE_BASIC -i %s -p tcp --dport %s -s %s -d %s -j DNAT --to %s:80",
                    wan, port, nvram_text("fw_remote_single").text(), wan_address, lan_address);
            break;
        case '2':
            fw_rule(
                "-t nat -A PRE_BASIC -i %s -p tcp --dport %s -m iprange --src-range %s-%s -d %s"
                " -j DNAT --to %s:80",
                wan, port, nvram_text("fw_remote_range_start").text(),
                nvram_text("fw_remote_range_end").text(), wan_address, lan_address);
            break;
        case '3':
            fw_rule("-t nat -A PRE_BASIC -i %s -p tcp --dport %s -d %s -j DNAT --to %s:80", wan,
                    port, wan_address, lan_address);
            break;
        default:
            break;
    }
    fw_rule("-A LOCAL_SERVICE -d %s -p tcp --dport 80 -j ACCEPT", lan_address);
}

}  // namespace

void fw_pre_basic() {
    const PreBasicSettings from;
    // The rules use the LAN address of the settings. The kernel's is asked for all the same, so
    // that a machine without sockets reports it once for each side.
    getIPAddress(from.lan.text());

    if (from.mode.is(wan_mode::dhcpc))
        fw_rule("-A PRE_BASIC -t nat -i %s -p udp -d 255.255.255.255 --dport 68 -j ACCEPT",
                from.wan.text());
    if (!from.wan_address.empty() && !from.nat.off())
        fw_rule("-A PRE_BASIC -t nat -i %s -d ! %s -j DROP", from.wan.text(),
                from.wan_address.c_str());
    fw_rule("-A PRE_BASIC -t nat -i %s -p udp --dport 53 -d %s -j DNS", from.lan.text(),
            from.lan_address.text());
    write_dns_relay(from.lan_address);
    write_remote_management(from);
}
