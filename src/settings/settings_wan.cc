// Rows of the table of all settings: the WAN port, its mode, its address and its name servers.
#include "settings/areas.h"

namespace nvram {

// An IPv4 link carries at least 68 bytes (RFC 791), an Ethernet frame at most 1500.
static constexpr std::int32_t least_mtu = 68;
static constexpr std::int32_t most_mtu = 1500;

static constexpr Need with_own_name_servers = {.when = if_on("wan_fix_dns"),
                                               .level = Level::Warning};
static constexpr Need address_in_mode_ip = {.when = if_is("wan_mode", "ip"),
                                            .effect = "gives the port no address"};
static constexpr Need gateway_in_mode_ip = {.when = if_is("wan_mode", "ip"),
                                            .effect = "sets no default route"};

static constexpr KnownSetting wan_rows[] = {
    {.key = "wan_mode",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = wan_mode::joined.data(),
     .factory = wan_mode::dhcpc,
     .when_empty = "no WAN is started",
     .when_wrong = "starts no connection at all",
     .help =
         "leased address (dhcpc), fixed (ip), PPPoE, PPTP, L2TP, BigPond (bpa) or RAS login (ras)"},
    // A text that contains wisp moves the PPPoE relay and the DHCP redirection to the radio, but
    // only the exact word leaves the Ethernet port's MAC address unchanged. Any other text means a
    // cable.
    {.key = "wan_line",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "ethernet wisp",
     .factory = "ethernet",
     .when_empty = "the WAN is the Ethernet port",
     .when_wrong = "uses the radio in part if the value contains wisp, otherwise the wired port",
     .help =
         "medium of the WAN: the Ethernet port (ethernet), or the radio to a wireless ISP (wisp)"},
    {.key = "wan_phy_ifname",
     .form = Form::Interface,
     .factory = "eth2.2",
     .when_empty =
         "commands for the port name no interface and fail; the firewall uses ether_wan_ifname",
     .when_absent = "the port is eth2.2; the firewall uses ether_wan_ifname",
     .help = "the physical WAN port; in mode dhcpc, ip, bpa and ras it carries the traffic itself"},
    {.key = "ether_wan_ifname",
     .form = Form::Interface,
     .factory = "eth2.2",
     .when_empty = "if wan_phy_ifname is empty too, rules for the port under a tunnel name no port",
     .help = "the Ethernet WAN port, which the firewall uses if wan_phy_ifname is empty"},
    {.key = "wan_ifname",
     .form = Form::Interface,
     .factory = "eth2.2",
     .when_empty = "WAN rules and services name no interface",
     .when_absent = "WAN rules and services name no interface; QoS is never removed",
     .help = "interface that carries the WAN's traffic; rc sets it at every WAN start"},
    {.key = "wan_ifname1",
     .form = Form::Interface,
     .may_be_empty = true,
     .when_empty = "the multicast proxy on connection 1 gets no interface",
     .help = "interface of a second WAN connection; the multicast proxy uses it if igmp_port is 1"},
    {.key = "wan_macaddr",
     .form = Form::Mac,
     .may_be_empty = true,
     .when_empty = "the port gets wan_macaddr_default",
     .help = "MAC address shown to the provider; only 17 characters are kept"},
    {.key = "wan_mtu",
     .form = Form::Number,
     .low = least_mtu,
     .high = most_mtu,
     .factory = "1500",
     .when_empty =
         "ifconfig and pppd get no number and fail, and the firewall clamps the MSS to -40",
     .when_absent =
         "PPP links use their own MTU; elsewhere ifconfig fails; the firewall clamps the MSS to"
         " -40",
     .help = "largest packet on the WAN, in bytes; 1500 gives PPPoE 1492, PPTP 1462 and L2TP 1464"},
    // The dispatcher does not start a mode "static".
    {.key = "static_mtu",
     .form = Form::Number,
     .may_be_empty = true,
     .low = least_mtu,
     .high = most_mtu,
     .factory = "1500",
     .when_empty = "no effect: no mode uses it",
     .help = "largest packet in mode static, in bytes; no action starts that mode, and mode ip uses"
             " wan_mtu"},
    {.key = "wan_account",
     .form = Form::Host,
     .may_be_empty = true,
     .when_empty = "udhcpc is started with -H and no name after it",
     .help = "host name that the DHCP client sends to the provider, in mode dhcpc"},
    {.key = "wan_domain",
     .form = Form::Host,
     .may_be_empty = true,
     .factory = "lan",
     .when_empty = "mode ip writes no domain line; the DHCP server's domain option is empty",
     .help = "search domain for names: the router's own in mode ip, and handed out to the LAN"},
    // Three readers, three tests: exactly 1 (the DHCP clients), a number other than 0 (pppd), a
    // first character of 1 (the resolver's file).
    {.key = "wan_fix_dns",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1",
     .factory = "0",
     .when_empty = "the name servers are the provider's",
     .when_wrong =
         "tests for exactly 1, a number other than 0, or a first character of 1, depending on the"
         " mode",
     .help = "name servers: the provider's (0) or wan_dns1 to wan_dns3 (1)"},
    {.key = "wan_dns1",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "203.0.113.53",
     .when_empty =
         "its line is left out; the other two are added to the contents of /etc/resolv.conf",
     .needed = &with_own_name_servers,
     .help = "first name server: in mode ip, and in every mode when wan_fix_dns is 1"},
    {.key = "wan_dns2",
     .form = Form::Address,
     .may_be_empty = true,
     .when_empty = "its line is left out",
     .help = "second name server: in mode ip, and in every mode when wan_fix_dns is 1"},
    {.key = "wan_dns3",
     .form = Form::Address,
     .may_be_empty = true,
     .when_empty = "its line is left out",
     .help = "third name server, only when wan_fix_dns is 1"},
    {.key = "fix_ipaddr",
     .form = Form::Address,
     .may_be_empty = true,
     .factory = "0.0.0.0",
     .example = "203.0.113.2",
     .when_empty = "in mode ip, ifconfig gets no address and fails",
     .needed = &address_in_mode_ip,
     .help = "address of the WAN port in mode ip"},
    {.key = "fix_netmask",
     .form = Form::Netmask,
     .factory = "255.255.255.0",
     .when_empty = "in mode ip, ifconfig gets no netmask and fails",
     .help = "netmask of the WAN port in mode ip"},
    {.key = "fix_gateway",
     .form = Form::Address,
     .may_be_empty = true,
     .factory = "0.0.0.0",
     .example = "203.0.113.1",
     .when_empty = "in mode ip, route gets no gateway and fails: there is no default route",
     .needed = &gateway_in_mode_ip,
     .help = "default gateway in mode ip"},
};
constexpr std::span<const KnownSetting> wan_settings = wan_rows;

}  // namespace nvram
