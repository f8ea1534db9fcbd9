// WAN mode "dhcpc": the provider leases the address. Runs udhcpc, whose event script does the rest.

#include "core/command.h"
#include "wan/wan.h"

int start_dhcpc() {
    const Setting ifname = nvram_text("wan_ifname");
    SYSTEM("/sbin/ifconfig %s up", ifname.text());
    mac_spoofing();
    const Setting account = nvram_text("wan_account");
    if (nvram_text("wan_fix_dns").is("1"))
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.fix.script -H %s&", ifname.text(),
               account.text());
    else
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/udhcpc.script -H %s&", ifname.text(),
               account.text());
    return 0;
}
