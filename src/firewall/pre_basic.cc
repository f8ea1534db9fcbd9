// The first rules of NAT: broadcast DHCP answers, spoofed destinations, the DNS relay, remote
// management. Reads /etc/resolv.conf.

#include <string.h>

#include "core/file.h"
#include "core/nvram.h"
#include "core/wan_modes.h"
#include "firewall/firewall.h"
#include "firewall/rules.h"

namespace {

// The column of the address in a line of /etc/resolv.conf.
constexpr size_t name_server_column = sizeof "nameserver " - 1;

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
void write_remote_management(const Setting& wan, const std::string& wan_address,
                             const Setting& lan_address) {
    if (!nvram_text("fw_remote").on()) return;
    const Setting port = nvram_text("fw_remote_port");
    switch (nvram_text("fw_remote_type").text()[0]) {
        case '1':
            fw_rule("-t nat -A PRE_BASIC -i %s -p tcp --dport %s -s %s -d %s -j DNAT --to %s:80",
                    wan.text(), port.text(), nvram_text("fw_remote_single").text(),
                    wan_address.c_str(), lan_address.text());
            break;
        case '2':
            fw_rule(
                "-t nat -A PRE_BASIC -i %s -p tcp --dport %s -m iprange --src-range %s-%s -d %s"
                " -j DNAT --to %s:80",
                wan.text(), port.text(), nvram_text("fw_remote_range_start").text(),
                nvram_text("fw_remote_range_end").text(), wan_address.c_str(), lan_address.text());
            break;
        case '3':
            fw_rule("-t nat -A PRE_BASIC -i %s -p tcp --dport %s -d %s -j DNAT --to %s:80",
                    wan.text(), port.text(), wan_address.c_str(), lan_address.text());
            break;
        default:
            break;
    }
    fw_rule("-A LOCAL_SERVICE -d %s -p tcp --dport 80 -j ACCEPT", lan_address.text());
}

}  // namespace

void fw_pre_basic() {
    const Setting wan = nvram_text("wan_ifname");
    const Setting lan_address = nvram_text("lan_ipaddr");
    const std::string wan_address = address_of(wan.text());

    if (nvram_text("wan_mode").is(wan_mode::dhcpc))
        fw_rule("-A PRE_BASIC -t nat -i %s -p udp -d 255.255.255.255 --dport 68 -j ACCEPT",
                wan.text());
    if (!wan_address.empty() && !nvram_text("fw_nat").off())
        fw_rule("-A PRE_BASIC -t nat -i %s -d ! %s -j DROP", wan.text(), wan_address.c_str());
    fw_rule("-A PRE_BASIC -t nat -i %s -p udp --dport 53 -d %s -j DNS", nvram_text("lan_if").text(),
            lan_address.text());
    write_dns_relay(lan_address);
    write_remote_management(wan, wan_address, lan_address);
}
