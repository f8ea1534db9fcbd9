// WAN mode "bpa". Writes /var/bpalogin.conf; runs udhcpc, whose event script starts the login
// client.

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "wan/wan.h"

int mk_bpa_conf() {
    File conf = open_secret_file("/var/bpalogin.conf", "w");
    if (!conf) return 0;
    conf.print("username %s\n", nvram_text("bpa_username").text());
    conf.print("password %s\n", nvram_text("bpa_password").text());
    conf.print("connectedprog /etc/bpa/bpa_up\n");
    conf.print("disconnectedprog /etc/bpa/bpa_down\n");
    return 0;
}

// "bpa_login" is left unchanged, even if it says that a login is in force.
int start_bpa(int) {
    mac_spoofing();
    platform::sleep_seconds(1);
    mk_bpa_conf();

    const Setting ifname = nvram_text("wan_ifname");
    if (nvram_text("wan_fix_dns").is("1"))
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/bpa/udhcpc.bpa.fix.script&", ifname.text());
    else
        SYSTEM("/usr/sbin/udhcpc -i %s -s /etc/bpa/udhcpc.bpa.script&", ifname.text());
    return 0;
}
