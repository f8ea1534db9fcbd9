// WAN mode "ip": fixed address, gateway and name servers. Writes /etc/resolv.conf and
// /tmp/wan_uptime; runs ifconfig, route and rc itself.

#include "core/command.h"
#include "core/platform.h"
#include "wan/wan.h"

namespace {

void write_resolver() {
    platform::remove_file("/etc/resolv.conf");
    const Setting domain = nvram_text("wan_domain");
    if (!domain.empty()) SYSTEM("echo domain %s>>/etc/resolv.conf", domain.text());
    for (const char* key : {"wan_dns1", "wan_dns2"}) {
        const Setting server = nvram_text(key);
        if (!server.empty()) SYSTEM("echo nameserver %s>>/etc/resolv.conf", server.text());
    }
}

}  // namespace

int start_ip() {
    const Setting ifname = nvram_text("wan_ifname");
    SYSTEM("/sbin/ifconfig %s up", ifname.text());
    SYSTEM("/sbin/ifconfig %s mtu %s", ifname.text(), nvram_text("wan_mtu").text());
    mac_spoofing();
    SYSTEM("/sbin/ifconfig %s %s netmask %s", ifname.text(), nvram_text("fix_ipaddr").text(),
           nvram_text("fix_netmask").text());
    SYSTEM("/sbin/route del default");
    SYSTEM("/sbin/route add default gw %s", nvram_text("fix_gateway").text());
    write_resolver();

    SYSTEM("/bin/cp /proc/uptime /tmp/wan_uptime");
    SYSTEM("/usr/sbin/rc dhcpd create");
    // The redirection after the "&" belongs to an empty command, so the services' messages are
    // still shown.
    SYSTEM("/usr/sbin/rc service restart & >/dev/null 2>&1");
    SYSTEM("/usr/bin/killall -SIGUSR2 udhcpd");
    return 0;
}
