// nvram check: the WAN, its accounts and its services.
#include "check_kit.h"

namespace {

using namespace nvram;

// The changes that a mode needs to be valid, and additional ones.
std::vector<std::string> with(std::vector<std::string> changes,
                              const std::vector<std::string>& more) {
    changes.insert(changes.end(), more.begin(), more.end());
    return changes;
}

const std::vector<std::string> fixed = {"wan_mode=ip", "fix_ipaddr=203.0.113.2",
                                        "fix_gateway=203.0.113.1", "wan_dns1=203.0.113.53"};
const std::vector<std::string> pppoe = {"wan_mode=pppoe", "pppoe_username=me",
                                        "pppoe_password=secret"};
const std::vector<std::string> pptp = {"wan_mode=pptp", "pptp_username=me", "pptp_password=secret",
                                       "pptp_server=203.0.113.7"};
const std::vector<std::string> pptp_fixed = with(
    pptp,
    {"pptp_type=1", "pptp_ipaddr=10.0.0.2", "pptp_fix_gateway=10.0.0.1", "pptp_wan_dns1=10.0.0.1"});
const std::vector<std::string> l2tp = {"wan_mode=l2tp", "l2tp_username=me", "l2tp_password=secret",
                                       "l2tp_server=lns.example.com"};

TEST(CheckWan, FindsNothingInValidModes) {
    expect_rows({{fixed, {}},
                 {pppoe, {}},
                 {pptp, {}},
                 {pptp_fixed, {}},
                 {l2tp, {}},
                 {with(l2tp, {"l2tp_type=1", "l2tp_ipaddr=10.0.0.2"}), {}},
                 {{"wan_mode=bpa", "bpa_username=me", "bpa_password=secret"}, {}},
                 {{"wan_mode=ras"}, {}},
                 {{"wan_mode="}, {}}});
}

TEST(CheckWan, RejectsAnUnknownMode) {
    for (const char* const change : {"wan_mode=static", "wan_mode=dhcp", "wan_mode=IP"})
        EXPECT_EQ(finding_of({change}).effect, "starts no connection at all") << change;
}

TEST(CheckWan, ReportsMissingFixedAddresses) {
    expect_rows({
        {{"wan_mode=ip"},
         {"error fix_gateway: is 0.0.0.0, but wan_mode=ip needs it",
          "error fix_ipaddr: is 0.0.0.0, but wan_mode=ip needs it",
          "warning wan_dns1: is empty, as is wan_dns2, and wan_mode=ip gets no other name server"}},
        {with(fixed, {"fix_ipaddr="}), {"error fix_ipaddr: is empty, but wan_mode=ip needs it"}},
        {with(fixed, {"wan_dns1=", "wan_dns2=203.0.113.53"}), {}},
        {with(pptp, {"pptp_type=1"}),
         {"error pptp_fix_gateway: is 0.0.0.0, but wan_mode=pptp with pptp_type=1 needs it",
          "error pptp_ipaddr: is 0.0.0.0, but wan_mode=pptp with pptp_type=1 needs it",
          "warning pptp_wan_dns1: is empty, but wan_mode=pptp with pptp_type=1 needs it"}},
        {with(l2tp, {"l2tp_type=1"}),
         {"error l2tp_ipaddr: is 0.0.0.0, but wan_mode=l2tp with l2tp_type=1 needs it"}},
        {with(pppoe, {"wan_iptype_pppoe=Fixed"}),
         {"error pppoe_ipaddr: is empty, but wan_mode=pppoe with wan_iptype_pppoe=Fixed needs it"}},
    });
    EXPECT_EQ(finding_of(with(fixed, {"fix_ipaddr="})).fix, "fix_ipaddr=203.0.113.2");
}

TEST(CheckWan, ChecksGatewaysAndNetworks) {
    const std::string net = "203.0.113.0/255.255.255.0";
    expect_rows({
        {with(fixed, {"fix_gateway=203.0.114.1"}),
         {"error fix_gateway: is not a host in " + net + ", the network of fix_ipaddr"}},
        {with(fixed, {"fix_gateway=203.0.113.255"}),
         {"error fix_gateway: is not a host in " + net + ", the network of fix_ipaddr"}},
        {with(fixed, {"fix_gateway=203.0.113.2"}),
         {"error fix_gateway: is the port's own address, fix_ipaddr"}},
        {with(fixed, {"fix_ipaddr=203.0.113.0"}),
         {"error fix_ipaddr: is the network's or the broadcast address of " + net}},
        {with(fixed, {"fix_netmask=255.255.255.255"}),
         {"error fix_netmask: leaves no room for a gateway"}},
        {with(fixed, {"fix_netmask=255.0.255.0"}),
         {"error fix_netmask: is not a netmask: its ones are not contiguous; expected four"
          " numbers, such as 255.255.255.0"}},
        {with(fixed, {"fix_ipaddr=x"}),
         {"error fix_ipaddr: is not an IPv4 address; expected four numbers, such as 192.168.1.1"}},
        // A network inside the LAN overlaps it as much as one around it.
        {with(fixed, {"lan_netmask=255.255.0.0", "lan_bipaddr=192.168.255.255",
                      "fix_ipaddr=192.168.2.2", "fix_gateway=192.168.2.1"}),
         {"error fix_ipaddr: is in a network that overlaps the LAN 192.168.0.0/255.255.0.0"}},
        {with(fixed, {"fix_ipaddr=192.168.1.2", "fix_gateway=192.168.1.254"}),
         {"error fix_ipaddr: is in a network that overlaps the LAN 192.168.1.0/255.255.255.0"}},
        {with(fixed,
              {"fix_ipaddr=192.168.2.2", "fix_netmask=255.255.0.0", "fix_gateway=192.168.2.1"}),
         {"error fix_ipaddr: is in a network that overlaps the LAN 192.168.1.0/255.255.255.0"}},
        {with(pptp_fixed, {"pptp_fix_gateway=10.0.1.1"}),
         {"error pptp_fix_gateway: is not a host in 10.0.0.0/255.255.255.0, the network of"
          " pptp_ipaddr"}},
        // Leased addresses are not checked.
        {with(pptp, {"pptp_ipaddr=10.0.0.2", "pptp_fix_gateway=10.9.9.9"}), {}},
    });
    EXPECT_EQ(finding_of(with(fixed, {"fix_gateway=203.0.114.1"})).effect,
              "runs /sbin/route add default gw 203.0.114.1, which the kernel rejects: there is no"
              " default route");
}

TEST(CheckWan, ChecksAccounts) {
    expect_rows({
        {{"wan_mode=pppoe"},
         {"error pppoe_password: is empty, but wan_mode=pppoe needs it",
          "error pppoe_username: is empty, but wan_mode=pppoe needs it"}},
        {{"wan_mode=pptp"},
         {"error pptp_password: is empty, but wan_mode=pptp needs it",
          "error pptp_server: is empty, but wan_mode=pptp with pptp_server_type=i needs it",
          "error pptp_username: is empty, but wan_mode=pptp needs it"}},
        {with(pptp, {"pptp_server_type=d"}),
         {"error pptp_server_domain: is empty, but wan_mode=pptp with pptp_server_type=d needs it"}},
        {with(pptp, {"pptp_server_type=d", "pptp_server_domain=vpn.example.com", "pptp_server="}),
         {}},
        {{"wan_mode=l2tp"},
         {"error l2tp_password: is empty, but wan_mode=l2tp needs it",
          "error l2tp_server: is empty, but wan_mode=l2tp needs it",
          "error l2tp_username: is empty, but wan_mode=l2tp needs it"}},
        {{"wan_mode=bpa"},
         {"error bpa_password: is empty, but wan_mode=bpa needs it",
          "error bpa_username: is empty, but wan_mode=bpa needs it"}},
        // rc escapes an account as for a shell; of the files it is in, none is read by one.
        {with(l2tp, {"l2tp_username=50%"}),
         {"error l2tp_username: contains one of \\\"$'`%, which do not reach l2tpd and pppd as"
          " they are"}},
        {with(l2tp, {"l2tp_username=o'neill"}),
         {"error l2tp_username: contains one of \\\"$'`%, which do not reach l2tpd and pppd as"
          " they are"}},
        {with(l2tp, {"l2tp_password=a$b"}),
         {"error l2tp_password: contains a character that does not reach l2tpd and pppd as it is"}},
        {with(l2tp, {"l2tp_username=a b"}),
         {"error l2tp_username: contains a space, which ends it in the secrets files"}},
        {with(l2tp, {"l2tp_password=a b"}),
         {"error l2tp_password: contains a character that ends it in the secrets files"}},
        {with(pppoe, {"pppoe_username=50% me"}), {}},
    });
}

TEST(CheckWan, ModeIpNeedsNameServers) {
    expect_rows(
        {{{"wan_fix_dns=1"}, {"warning wan_dns1: is empty, but wan_fix_dns=1 needs it"}},
         {{"wan_fix_dns=1", "wan_dns1=8.8.8.8"}, {}},
         {with(fixed, {"wan_dns1="}),
          {"warning wan_dns1: is empty, as is wan_dns2, and wan_mode=ip gets no other name server"}},
         {with(fixed, {"wan_dns1=", "wan_dns2=8.8.8.8"}), {}},
         {with(fixed, {"wan_dns1=", "wan_fix_dns=1"}),
          {"warning wan_dns1: is empty, but wan_fix_dns=1 needs it"}}});
}

TEST(CheckWan, TheMtuMustFitTheLink) {
    expect_rows({
        {with(pppoe, {"wan_mtu=1492"}), {}},
        {with(pppoe, {"wan_mtu=1500"}), {}},
        {with(pppoe, {"wan_mtu=1493"}), {"warning wan_mtu: is more than pppoe carries, 1492"}},
        {with(pptp, {"wan_mtu=1463"}), {"warning wan_mtu: is more than pptp carries, 1462"}},
        {with(l2tp, {"wan_mtu=1465"}), {"warning wan_mtu: is more than l2tp carries, 1464"}},
        {{"wan_mtu=1493"}, {}},
    });
}

TEST(CheckWan, DiallingOnDemandNeedsAnIdleTime) {
    expect_rows({
        {with(pppoe, {"wan_dod=1"}), {}},
        {with(pppoe, {"wan_dod=1", "pppoe_idle=0"}),
         {"warning pppoe_idle: is not a time, but wan_dod=1 dials on demand"}},
        {with(pppoe, {"wan_dod=0", "pppoe_idle=0"}), {}},
        {with(pptp, {"pptp_dod=1", "pptp_idle="}),
         {"warning pptp_idle: is not a time, but pptp_dod=1 dials on demand"}},
        {with(l2tp, {"l2tp_dod=1", "l2tp_idle=0"}),
         {"warning l2tp_idle: is not a time, but l2tp_dod=1 dials on demand"}},
    });
}

TEST(CheckWan, ServersOfTheWanAreNotInTheLan) {
    const std::string in_lan = "is in the LAN 192.168.1.0/255.255.255.0";
    expect_rows({
        {{"wan_fix_dns=1", "wan_dns1=192.168.1.9"}, {"error wan_dns1: " + in_lan}},
        {{"wan_fix_dns=1", "wan_dns1=203.0.113.53", "wan_dns3=192.168.1.1"},
         {"error wan_dns3: is the router's own address"}},
        {{"wan_fix_dns=0", "wan_dns1=192.168.1.9"}, {}},
        // Used by the mode and by the switch: one mistake.
        {with(fixed, {"wan_fix_dns=1", "wan_dns1=192.168.1.9"}), {"error wan_dns1: " + in_lan}},
        {with(pptp, {"pptp_server=192.168.1.9"}), {"error pptp_server: " + in_lan}},
        {with(l2tp, {"l2tp_server=192.168.1.9"}), {"error l2tp_server: " + in_lan}},
        {{"pptp_server=192.168.1.9"}, {}},
        {{"fw_remote=1", "fw_remote_single=192.168.1.9"}, {"error fw_remote_single: " + in_lan}},
    });
}

TEST(CheckWan, TheRadioMustBeAStation) {
    expect_rows({
        {{"wan_line=wisp", "wifi_ap_mode=1", "sta_ssid=isp"}, {}},
        {{"wan_line=wisp"},
         {"warning wan_line: runs the WAN over the radio, which is not a station"}},
        {{"wifi_ap_mode=1", "ap_mode=", "sta_ssid=isp"},
         {"warning wifi_ap_mode: makes the radio a station only with ap_mode=0"}},
        {{"wifi_ap_mode=1"},
         {"error sta_ssid: is empty, but wifi_ap_mode=1 with ap_mode=0 needs it"}},
    });
}

TEST(CheckWan, ChecksDynamicDns) {
    const std::vector<std::string> ddns = {"ddns_enable=1", "ddns_service_provider=dyndns",
                                           "ddns_user_name=me", "ddns_password=secret",
                                           "ddns_host_name=me.example.com"};
    expect_rows({
        {ddns, {}},
        {{"ddns_enable=1"},
         {"error ddns_host_name: is empty, but ddns_enable=1 needs it",
          "error ddns_password: is empty, but ddns_enable=1 needs it",
          "error ddns_service_provider: is empty, but ddns_enable=1 needs it",
          "error ddns_user_name: is empty, but ddns_enable=1 needs it"}},
        // Only 0 is off.
        {with(ddns, {"ddns_enable=", "ddns_user_name="}),
         {"error ddns_enable: is empty; expected 1 (on) or 0 (off)",
          "error ddns_user_name: is empty, but ddns_enable= needs it"}},
        {with(ddns, {"ddns_user_name=me:too"}), {"error ddns_user_name: contains a colon"}},
    });
}

TEST(CheckWan, ChecksMulticastUpnpAndRip) {
    expect_rows({
        {{"igmp_enable=1"}, {}},
        {{"igmp_enable=1", "igmp_port=0"}, {}},
        {{"igmp_enable=1", "igmp_port=1"},
         {"error igmp_port: names a connection without an interface: wan_ifname1 is empty"}},
        {{"igmp_enable=1", "igmp_port=1", "wan_ifname1=ppp1"}, {}},
        {{"igmp_enable=1", "igmp_port=2", "wan_ifname2=ppp1"}, {}},
        {{"upnp_enable=1"}, {}},
        {{"upnp_enable=1", "upnp_ttl="},
         {"error upnp_ttl: is empty; expected a number from 1 to 255"}},
        {{"rt_rip_direction=b", "rt_rip_version="},
         {"error rt_rip_version: is empty; expected one of 1, 2, 2B"}},
        {{"rt_rip_direction=b", "wan_ifname="},
         {"error wan_ifname: is empty; expected an interface name of 1 to 15 characters"}},
    });
}

}  // namespace
