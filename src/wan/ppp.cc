// The PPP option builder. Runs iptables, cp, pppd and l2tpd; writes /tmp/ppp/options.

#include "wan/ppp.h"

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "core/text.h"
#include "core/wan_modes.h"
#include "wan/ppp_secrets.h"
#include "wan/wan.h"

namespace {

// The script that pppd runs as /tmp/ppp/ip-up once the link is up; a link that dials on demand has
// another script.

std::string pppoe_idle() {
    const int minutes = nvram_value("pppoe_idle").number();
    if (nvram_value("wan_dod").number() == 0) {
        platform::run_shell("/bin/cp /etc/ppp/ip-up /tmp/ppp/ip-up");
        return "";
    }
    if (minutes == 0) {
        platform::run_shell("/bin/cp /etc/ppp/ip-up-demand /tmp/ppp/ip-up");
        return "";
    }
    SYSTEM("/bin/echo > /var/resolv.conf");
    SYSTEM("/bin/cp /etc/ppp/ip-up-demand /tmp/ppp/ip-up");
    return idle_option(minutes);
}

void run_pppoe(const char* peer_dns) {
    const Setting port = wan_port();
    const std::string idle = pppoe_idle();
    std::string local_address;
    if (nvram_text("wan_iptype_pppoe").view().starts_with('F'))
        local_address = format("%s:", nvram_text("pppoe_ipaddr").text());
    const Setting service = nvram_text("pppoe_service");
    std::string service_name;
    if (!service.empty())
        service_name = format("pppoe_srv_name \"%s\"", specialchar(service).c_str());
    const char* debug = platform::file_exists("/tmp/debug") ? "logfile /tmp/ppp_log debug" : "";

    SYSTEM_collapsed(format(
        "/usr/sbin/pppd plugin pppoe  %s user \"%s\" password \"%s\" mtu %s %s %s nodetach noipdefault"
        " defaultroute %s %s maxfail 0 %s %s",
        port.text(), specialchar(nvram_text("pppoe_username")).c_str(),
        specialchar(nvram_text("pppoe_password")).c_str(), link_mtu(wan_mode::pppoe_mtu).c_str(),
        debug, local_address.c_str(), peer_dns, idle.c_str(), service_name.c_str(),
        "lcp-echo-failure 3 lcp-echo-interval 10 >/var/ppp_dbg 2>&1 &"));
}

// The idle option of a tunnel, and the script that goes with it.
std::string tunnel_idle(const Setting& demand, int minutes) {
    if (!demand.on() || minutes == 0) {
        SYSTEM("/bin/cp -f /etc/ppp/ip-up /tmp/ppp/ip-up");
        return "";
    }
    SYSTEM("/bin/cp -f /etc/ppp/ip-up-demand /tmp/ppp/ip-up");
    return idle_option(minutes);
}

void run_pptp(const char* peer_dns) {
    const std::string idle = tunnel_idle(nvram_text("pptp_dod"), nvram_text("pptp_idle").number());
    const Setting id = nvram_text("pptp_id");
    const std::string phone = id.empty() ? "" : format("--phone %s", id.text());
    // A tunnel has no local address, but the option's place in the line stays.
    const char* local_address = "";

    SYSTEM_collapsed(format(
        "/usr/sbin/pppd pty 'pptp %s %s --nolaunchpppd' user %s password %s mtu %s %s noipdefault"
        " defaultroute %s %s lcp-echo-failure 3 &",
        nvram_text("pptp_server").text(), phone.c_str(),
        specialchar(nvram_text("pptp_username")).c_str(),
        specialchar(nvram_text("pptp_password")).c_str(), link_mtu(wan_mode::pptp_mtu).c_str(),
        local_address, peer_dns, idle.c_str()));
}

void write_l2tp_options(const std::string& idle, const char* peer_dns) {
    File options = open_file("/tmp/ppp/options", "w");
    if (!options) return;
    options.print("noipdefault\n");
    if (nvram_value("l2tp_dod").on()) options.print("%s\n", idle.c_str());
    options.print("mtu %s\n", link_mtu(wan_mode::l2tp_mtu).c_str());
    options.print(
        "nodetach\n"
        "defaultroute\n"
        "maxfail 0\n"
        "unit 0\n");
    options.print("%s\n", peer_dns);
}

void run_l2tp(const char* peer_dns) {
    const std::string idle = tunnel_idle(nvram_text("l2tp_dod"), nvram_text("l2tp_idle").number());
    update_l2tp_conf();
    write_l2tp_options(idle, peer_dns);
    SYSTEM("/usr/sbin/l2tpd -D &");
}

}  // namespace

const char* peer_dns_option() {
    return nvram_value("wan_fix_dns").number() == 0 ? "usepeerdns" : "";
}

std::string link_mtu(int link_default) {
    const Setting mtu = nvram_value("wan_mtu");
    return mtu.is_set() && !mtu.is("1500") ? mtu.text() : format("%d", link_default);
}

std::string idle_option(int minutes) {
    return format("idle %lld demand", minutes * 60LL);
}

void set_pppd_cmd(int type, int) {
    SYSTEM(
        "iptables -I PREROUTING -t nat -i br0 -p udp --dport 53 -d %s -j DNAT --to 10.112.112.112",
        nvram_text("lan_ipaddr").text());
    const char* peer_dns = peer_dns_option();
    if (type == ppp_over_ethernet) run_pppoe(peer_dns);
    if (type == ppp_over_pptp) run_pptp(peer_dns);
    if (type == ppp_over_l2tp) run_l2tp(peer_dns);
}
