// The firewall's handlers. Writes /tmp/rules and /tmp/rule2, and through its parts /tmp/pnat,
// /tmp/qos.conf, /tmp/cron_schedule and /var/crontab; runs them with the shell.

#include "firewall/firewall.h"

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "core/wan_modes.h"
#include "firewall/rules.h"
#include "sched/sched.h"

namespace {

// TCP and IPv4 headers without options.
constexpr long long header_bytes = 40;

// The physical port under a tunnel.
Setting physical_port() {
    Setting port = nvram_text("wan_phy_ifname");
    return port.empty() ? nvram_text("ether_wan_ifname") : std::move(port);
}

// The WAN as the rules see it, read before the first rule about it: QoS runs its script on the way.
struct WanSide {
    Setting ifname = nvram_text("wan_ifname");
    Setting nat = nvram_text("fw_nat");
    Setting port = physical_port();
};

// A separate script, because it is run after the rules, when the tables are complete.
void write_masquerade(const WanSide& wan) {
    if (wan.nat.off()) return;
    File script = open_file("/tmp/rule2", "w");
    if (!script) return;
    script.print("iptables -t nat -A POSTROUTING -o %s -j MASQUERADE \n", wan.ifname.text());
    const Setting mode = nvram_text("wan_mode");
    if (mode.is(wan_mode::pptp) || mode.is(wan_mode::l2tp))
        script.print("iptables -t nat -A POSTROUTING -o %s -j MASQUERADE \n", wan.port.text());
}

void write_dmz(const WanSide& wan) {
    if (!nvram_text("fw_dmz_enable").on() || !wan.nat.on()) return;
    const Setting host = nvram_text("fw_dmz");
    fw_rule("-t nat -I DMZ -d %s -p ! icmp -j DNAT --to %s", address_of(wan.ifname.text()).c_str(),
            host.text());
    fw_rule("-A IN_FILTER -d %s -j ACCEPT", host.text());
}

// The LAN has no access to the WAN until the login client has logged in.
void write_login_block(const char* mode, const char* login_key) {
    if (!nvram_text("wan_mode").contains(mode) || nvram_text(login_key).number() == 1) return;
    fw_rule("-I FORWARD -s %s/%s -j DROP", nvram_text("lan_ipaddr").text(),
            nvram_text("lan_netmask").text());
}

// Limits the MSS that connections announce to the WAN's MTU.
void write_mss(const Setting& wan) {
    const long long mtu = get_if_mtu(wan.text());
    const long long wan_mtu = nvram_text("wan_mtu").number();
    print("wan_ifname:%s,mss:%lld\n", wan.text(), mtu);
    const long long mss = (mtu > 0 && mtu <= wan_mtu ? mtu : wan_mtu) - header_bytes;
    fw_rule(
        "-I FORWARD -p tcp --tcp-flags SYN,ACK,RST SYN,ACK -m tcpmss --mss %lld: -j TCPMSS"
        " --set-mss %lld",
        mss + 1, mss);
    fw_rule(
        "-I FORWARD -p tcp --tcp-flags SYN,ACK,RST SYN -m tcpmss --mss %lld: -j TCPMSS"
        " --set-mss %lld",
        mss + 1, mss);
}

// Inserted at the head, so the accept of the second rule comes before the drop of the first.
void write_multicast() {
    if (!nvram_text("igmp_enable").on()) return;
    fw_rule("-I DOS -d 224.0.0.0/3 -j DROP");
    fw_rule("-I DOS -p 2 -j ACCEPT");
    fw_rule("-t nat -I PRE_BASIC -d 224.0.0.0/3 -j ACCEPT");
}

void write_ttl() {
    switch (nvram_text("fw_ttl").number()) {
        case 1:
            fw_rule("-t mangle -A PREROUTING  -j TTL --ttl-inc 1");
            break;
        case 2:
            fw_rule("-t mangle -A PREROUTING  -j TTL --ttl-inc 2");
            fw_rule("-t mangle -A OUTPUT  -j TTL --ttl-inc 1");
            break;
        case 3:
            fw_rule("-t mangle -A POSTROUTING  -j TTL --ttl-set 1");
            break;
        case 4:
            fw_rule("-t mangle -A POSTROUTING  -j TTL --ttl-set %d",
                    nvram_text("fw_ttl_ud").number());
            break;
        default:
            break;
    }
}

}  // namespace

std::string address_of(const char* ifname) {
    return getIPAddress(ifname).value_or("");
}

int get_if_mtu(const char* ifname) {
    int mtu = 0;
    switch (platform::interface_mtu(ifname, mtu)) {
        case platform::InterfaceQuery::NoSocket:
            platform::print_error("socket creating failed");
            return 0;
        case platform::InterfaceQuery::NotThere:
            return 0;
        case platform::InterfaceQuery::Found:
            break;
    }
    return mtu;
}

int create_firewall_cfg() {
    start_schedule();
    RuleScript script;
    fw_init();
    const WanSide wan;
    fw_rules(dos_rules, wan.ifname.text());
    write_masquerade(wan);
    fw_pre_basic();
    fw_special_apps();
    create_qos_cfg();
    write_dmz(wan);
    if (nvram_text("fw_response_ping").on())
        fw_rule("-A LOCAL_SERVICE  -p icmp -i %s -j ACCEPT", wan.ifname.text());
    fw_url_block();
    fw_access_control();
    fw_port_forward();
    fw_port_range_forward();
    write_login_block(wan_mode::bpa, "bpa_login");
    write_login_block(wan_mode::ras, "ras_login");
    write_mss(wan.ifname);
    write_multicast();
    write_ttl();
    create_crontab();
    if (nvram_text("log_outgoing").on())
        fw_rule(
            "-I FORWARD -i %s -m state --state NEW -j LOG --log-level 4 --log-prefix"
            " \"[Out Going]\"",
            nvram_text("lan_if").text());
    return 0;
}

int start_firewall() {
    if (nvram_text("ap_mode").on()) return 0;
    // Nothing is forwarded while the tables are incomplete.
    platform::run_shell("echo 0 > /proc/sys/net/ipv4/ip_forward");
    const Setting mode = nvram_text("wan_mode");
    create_firewall_cfg();
    platform::sleep_seconds(1);
    platform::run_shell("/bin/sh /tmp/rules");
    platform::sleep_seconds(2);
    platform::run_shell("/bin/sh /tmp/rule2");
    platform::sleep_seconds(1);
    platform::run_shell("/bin/sh -x /tmp/pnat");
    // The login's own scripts write this one; without it the shell complains and nothing is lost.
    if (mode.contains(wan_mode::bpa))
        platform::run_shell("/bin/sh -x /tmp/bpa_netfilter_heartbeat");
    platform::run_shell("echo 1 > /proc/sys/net/ipv4/ip_forward");
    platform::run_shell("echo 180 > /proc/sys/net/ipv4/netfilter/ip_conntrack_udp_timeout_stream");
    return 0;
}

int stop_firewall() {
    const bool wan_over_radio = nvram_text("wan_line").contains("wisp");
    stop_qos();
    platform::run_shell("iptables -t nat -F");
    platform::run_shell("iptables -t filter -F");
    platform::run_shell("iptables -P INPUT ACCEPT");
    platform::run_shell("iptables -P FORWARD ACCEPT");
    platform::run_shell(
        "iptables -t nat -I PREROUTING -i eth2.2 -p udp --dport 68 -j DNAT --to 255.255.255.255");
    if (wan_over_radio)
        platform::run_shell(
            "iptables -t nat -I PREROUTING -i ra0 -p udp --dport 68 -j DNAT --to 255.255.255.255");
    platform::run_shell("echo 1 > /proc/sys/net/ipv4/netfilter/ip_conntrack_udp_timeout_stream");
    return 0;
}
