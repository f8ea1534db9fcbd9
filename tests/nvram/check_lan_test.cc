// nvram check: the LAN, the DHCP server, routes, the web interface and the clock.
#include "check_kit.h"

namespace {

using namespace nvram;

const std::string lan_net = "192.168.1.0/255.255.255.0";
const std::string no_address = "is not an IPv4 address; expected four numbers, such as 192.168.1.1";
const std::string bad_lan = "error lan_ipaddr: " + no_address;

TEST(CheckLan, AddressesMustMatch) {
    expect_rows({
        {{"lan_ipaddr=192.168.1.0"},
         {"error lan_ipaddr: is the network's or the broadcast address of " + lan_net}},
        {{"lan_ipaddr=192.168.1.255"},
         {"error lan_ipaddr: is the network's or the broadcast address of " + lan_net}},
        {{"lan_netmask=255.255.255.255"}, {"error lan_netmask: leaves no room for hosts"}},
        {{"lan_netmask=255.0.255.0"},
         {"error lan_netmask: is not a netmask: its ones are not contiguous; expected four"
          " numbers, such as 255.255.255.0"}},
        {{"lan_netmask=255.255.255.255", "lan_ipaddr=x"}, {bad_lan}},
        {{"lan_netmask=x"},
         {"error lan_netmask: is not a netmask; expected four numbers, such as 255.255.255.0"}},
        {{"lan_bipaddr=192.168.2.255"},
         {"warning lan_bipaddr: is not the broadcast address of " + lan_net}},
        {{"lan_ipaddr=10.0.0.1", "lan_netmask=255.0.0.0", "lan_bipaddr=10.255.255.255",
          "dhcp_start_ip=10.0.0.33", "dhcp_end_ip=10.0.1.64"},
         {}},
    });
    EXPECT_EQ(finding_of({"lan_bipaddr=192.168.2.255"}).fix, "lan_bipaddr=192.168.1.255");
}

TEST(CheckLan, TheLanIsAtItsPlace) {
    const std::string pool = "dhcp_server_enable=0";
    expect_rows({
        {{pool, "lan_ipaddr=203.0.113.1", "lan_bipaddr=203.0.113.255"},
         {"warning lan_ipaddr: is a public address, which belongs to a host on the Internet"}},
        {{pool, "lan_ipaddr=172.31.0.1", "lan_bipaddr=172.31.0.255"}, {}},
        {{pool, "lan_ipaddr=172.32.0.1", "lan_bipaddr=172.32.0.255"},
         {"warning lan_ipaddr: is a public address, which belongs to a host on the Internet"}},
        {{pool, "lan_ipaddr=127.0.0.1", "lan_bipaddr=127.0.0.255"},
         {"error lan_ipaddr: is a loopback address, which is every host's own; expected four"
          " numbers, such as 192.168.1.1"}},
        {{"lan_if=eth2.2"}, {"error lan_if: is the WAN's interface, wan_phy_ifname"}},
        {{"wan_ifname=br0"}, {"error lan_if: is the WAN's interface, wan_ifname"}},
    });
}

TEST(CheckLan, AnAccessPointNeedsAGatewayInItsLan) {
    const auto with = [&](const std::string& gateway) {
        return std::vector<std::string>{"ap_mode=1", "ap_dns=192.168.1.254",
                                        "ap_gateway=" + gateway};
    };
    expect_rows({
        {with("192.168.1.254"), {}},
        {with("192.168.2.254"), {"error ap_gateway: is not a host on the LAN " + lan_net}},
        {with("192.168.1.1"), {"error ap_gateway: is the device's own address"}},
    });
}

// One note for all of them.
TEST(CheckLan, AnAccessPointHasNoFirewall) {
    const std::vector<std::string> changes = {
        "ap_mode=1",       "ap_dns=192.168.1.254", "ap_gateway=192.168.1.254",
        "fw_dmz_enable=1", "fw_remote=1",          "ac_control=2",
        "qos_enable=1"};
    EXPECT_EQ(found(changes),
              std::vector<std::string>(
                  {"note ap_mode: makes the device an access point, which starts no firewall"}));
    EXPECT_EQ(finding_of(changes).effect,
              "makes no use of: fw_remote, fw_dmz_enable, ac_control, qos_enable");
}

// Without a valid LAN, addresses in it cannot be checked.
TEST(CheckLan, WithoutAValidAddressReportsNothingElse) {
    expect_rows({
        {{"lan_ipaddr=x", "fw_dmz_enable=1", "fw_dmz=192.168.2.100",
          "pcdb_list=pc;192.168.2.40;00:11:22:33:44:55", "dhcp_server_extended_option=enable",
          "dhcp_gateway_ip=192.168.2.2", "dhcp_dns_ip=8.8.8.8",
          "rt_static_route=office:10.1.0.0:255.255.0.0:192.168.2.254:2:1:1",
          "fw_in_rules=web:1:x:80:80:tcp:1", "fw_block_trust_enable=1", "fw_block_trust=10.0.0.1",
          "wan_mode=ip", "fix_ipaddr=192.168.1.2", "fix_gateway=192.168.1.3", "wan_dns1=8.8.8.8"},
         {bad_lan}},
    });
}

TEST(CheckLan, ThePoolMustBeInTheLan) {
    const std::string outside = ": is not a host on the LAN " + lan_net;
    expect_rows({
        {{"dhcp_start_ip=192.168.2.33"}, {"error dhcp_start_ip" + outside}},
        {{"dhcp_end_ip=192.168.1.255"}, {"error dhcp_end_ip" + outside}},
        {{"dhcp_start_ip=192.168.1.65"},
         {"error dhcp_start_ip: is above dhcp_end_ip=192.168.1.64"}},
        {{"dhcp_start_ip=192.168.1.64"}, {}},
        {{"dhcp_start_ip=192.168.1.1"},
         {"warning dhcp_start_ip: starts a pool that contains the router's own address,"
          " 192.168.1.1"}},
        {{"dhcp_server_enable=0", "dhcp_start_ip=192.168.2.33"}, {}},
        {{"lan_netmask=255.255.255.224", "lan_bipaddr=192.168.1.31"},
         {"error dhcp_end_ip: is not a host on the LAN 192.168.1.0/255.255.255.224",
          "error dhcp_start_ip: is not a host on the LAN 192.168.1.0/255.255.255.224"}},
    });
    EXPECT_EQ(finding_of({"dhcp_start_ip=192.168.1.65"}).fix,
              "dhcp_start_ip=192.168.1.64 dhcp_end_ip=192.168.1.65");
}

// rc compares last numbers with the pool, and takes the first number from the LAN.
TEST(CheckLan, ReservationsMustBeInThePool) {
    const std::string mac = ";00:11:22:33:44:55";
    expect_rows({
        {{"pcdb_list=pc;192.168.1.33" + mac}, {}},
        {{"pcdb_list=pc;192.168.1.64" + mac}, {}},
        {{"pcdb_list=pc;192.168.1.65" + mac},
         {"error pcdb_list: entry 1: 192.168.1.65 is outside the pool, by its last number"}},
        {{"pcdb_list=pc;192.168.1.32" + mac},
         {"error pcdb_list: entry 1: 192.168.1.32 is outside the pool, by its last number"}},
        {{"pcdb_list=pc;192.168.2.40" + mac},
         {"error pcdb_list: entry 1: 192.168.2.40 is not a host on the LAN " + lan_net}},
        {{"pcdb_list=pc;10.168.1.40" + mac},
         {"warning pcdb_list: entry 1: 10.168.1.40 is not a host on the LAN " + lan_net}},
        {{"lan_ipaddr=192.168.1.40", "dhcp_start_ip=192.168.1.41", "dhcp_end_ip=192.168.1.60",
          "pcdb_list=pc;192.168.1.40" + mac},
         {"error pcdb_list: entry 1: 192.168.1.40 is the router's own address",
          "error pcdb_list: entry 1: 192.168.1.40 is outside the pool, by its last number"}},
        {{"dhcp_server_enable=0", "pcdb_list=pc;192.168.1.65" + mac}, {}},
        // Without a valid pool no address is outside it.
        {{"dhcp_start_ip=x", "pcdb_list=pc;192.168.1.2" + mac},
         {"error dhcp_start_ip: " + no_address}},
        {{"dhcp_end_ip=x", "pcdb_list=pc;192.168.1.99" + mac},
         {"error dhcp_end_ip: " + no_address}},
        {{"pcdb_list=pc;x" + mac}, {"error pcdb_list: entry 1, field address: 'x' " + no_address}},
    });
    EXPECT_EQ(finding_of({"pcdb_list=pc;192.168.1.65" + mac}).effect, "leaves the reservation out");
    EXPECT_EQ(finding_of({"pcdb_list=pc;10.168.1.40" + mac}).effect,
              "reserves 192.168.1.40 instead");
    // A finding is one line, whatever the pool is.
    EXPECT_EQ(findings({"dhcp_end_ip=1\\x0a2", "pcdb_list=pc;10.168.1.40" + mac}).back().fix,
              "an address of the pool, from 192.168.1.33 to 1\\x0a2");
}

TEST(CheckLan, DhcpOptionsMustBeReachableAndSwitchedOn) {
    const std::string extended = "dhcp_server_extended_option=enable";
    expect_rows({
        {{extended, "dhcp_gateway_ip=192.168.1.2", "dhcp_dns_ip=8.8.8.8"}, {}},
        {{extended, "dhcp_gateway_ip=192.168.2.2"},
         {"error dhcp_gateway_ip: is not a host on the LAN " + lan_net}},
        {{"dhcp_gateway_ip=192.168.1.2"},
         {"note dhcp_gateway_ip: takes effect only with dhcp_server_extended_option=enable"}},
        {{"dhcp_dns_ip=8.8.8.8"},
         {"note dhcp_dns_ip: takes effect only with dhcp_server_extended_option=enable"}},
        {{extended}, {}},
    });
}

TEST(CheckLan, ChecksTheStaticRoute) {
    const std::string ip = "wan_mode=ip";
    expect_rows({
        {{"rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"}, {}},
        {{"rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:0"},
         {"note rt_static_route: entry 1 is not active"}},
        {{"rt_static_route=office:10.1.2.3:255.255.255.0:192.168.1.254:2:1:1"}, {}},
        // Mask 255.255.0.0 keeps the third number of a destination that ends in 0.
        {{"rt_static_route=office:172.16.5.0:255.255.0.0:192.168.1.254:2:1:1"},
         {"error rt_static_route: entry 1: destination 172.16.5.0 has bits outside netmask"
          " 255.255.0.0"}},
        {{"rt_static_route=office:172.16.5.129:255.255.255.128:192.168.1.254:2:1:1"},
         {"error rt_static_route: entry 1: destination 172.16.5.129 has bits outside netmask"
          " 255.255.255.128"}},
        {{"rt_static_route=office:10.1.0.0:255.255.0.0:192.168.2.254:2:1:1"}, {}},
        // The fixed address of the WAN counts in its own mode only.
        {{"fix_ipaddr=203.0.113.2",
          "rt_static_route=office:10.1.0.0:255.255.0.0:192.168.2.254:2:1:1"},
         {}},
        {{"rt_static_route=office:x:255.255.0.0:192.168.1.254:2:1:1"},
         {"error rt_static_route: entry 1, field destination: 'x' " + no_address}},
        {{"rt_static_route=office:10.1.0.0:x:192.168.1.254:2:1:1"},
         {"error rt_static_route: entry 1, field netmask: 'x' is not a netmask; expected four"
          " numbers, such as 255.255.255.0"}},
        {{"rt_static_route=office:10.1.0.0:255.255.0.0:x:2:1:1"},
         {"error rt_static_route: entry 1, field gateway: 'x' " + no_address}},
        {{ip, "fix_ipaddr=203.0.113.2", "fix_gateway=203.0.113.1", "wan_dns1=203.0.113.53",
          "rt_static_route=office:10.1.0.0:255.255.0.0:203.0.113.9:2:1:1"},
         {}},
        {{ip, "fix_ipaddr=203.0.113.2", "fix_gateway=203.0.113.1", "wan_dns1=203.0.113.53",
          "rt_static_route=office:10.1.0.0:255.255.0.0:192.168.2.254:2:1:1"},
         {"error rt_static_route: entry 1: gateway 192.168.2.254 is in neither the LAN nor the WAN"}},
    });
}

TEST(CheckServices, ChecksTheWebLogin) {
    expect_rows({
        {{"http_password="}, {"warning http_password: is empty"}},
        {{"http_password=1234"}, {"note http_password: is the well-known factory password"}},
        {{"fw_remote=1", "fw_remote_single=203.0.113.9", "http_password="},
         {"error http_password: is empty, and fw_remote=1 opens the web interface to the WAN"}},
        {{"fw_remote=1", "fw_remote_single=203.0.113.9", "http_password=1234"},
         {"error http_password: is the well-known factory password, and fw_remote=1 opens the web"
          " interface to the WAN"}},
        {{"http_username=me:too"}, {"error http_username: contains a colon"}},
    });
    EXPECT_EQ(finding_of({"http_password="}).effect,
              "deletes the password file, and the web interface asks for no login");
}

TEST(CheckServices, ChecksLogAndMail) {
    expect_rows({
        {{"log_type=2"}, {"error log_remote_ip: is empty, but log_type=2 needs it"}},
        {{"log_type=2", "log_remote_ip=192.168.1.10"}, {}},
        {{"log_type=2", "log_remote_ip=203.0.113.7"}, {}},
        {{"log_type=2", "log_remote_ip=192.168.1.1"},
         {"error log_remote_ip: is the router's own address"}},
        {{"log_type=1", "log_remote_ip=192.168.1.1"}, {}},
        {{"mail_enable=1"},
         {"error mail_recipient: is empty, but mail_enable=1 needs it",
          "warning mail_sender: is empty, but mail_enable=1 needs it",
          "error mail_server: is empty, but mail_enable=1 needs it"}},
        {{"mail_enable=1", "mail_recipient=a@b.c", "mail_sender=a@b.c", "mail_server=b.c",
          "mail_enable_auth=1"},
         {"error mail_login: is empty, but mail_enable=1 with mail_enable_auth=1 needs it",
          "error mail_password: is empty, but mail_enable=1 with mail_enable_auth=1 needs it"}},
        {{"mail_sendlog=3"}, {"note mail_sendlog: schedules mail, but mail_enable is off"}},
        {{"mail_sendlog=2"}, {"note mail_sendlog: schedules mail, but mail_enable is off"}},
        {{"mail_sendlog=4"}, {"note mail_sendlog: schedules mail, but mail_enable is off"}},
        {{"mail_enable=1", "mail_recipient=a@b.c", "mail_sender=a@b.c", "mail_server=b.c",
          "mail_sendlog=3"},
         {}},
        {{"mail_sendlog=1"}, {}},
        {{"mail_dos=1", "mail_block=1"}, {"note mail_enable: is off, so no mail is sent"}},
    });
    EXPECT_EQ(finding_of({"log_type=2"}).effect, "with log_type 2 syslogd gets an empty address");
}

TEST(CheckServices, ChecksTheTimeZone) {
    const std::string unknown =
        "is not an allowed value; expected one of -12, -11, -10, -9, -8, -7a, -7 2, -7b, -6 1, -6a";
    const Finding zone = finding_of({"fw_time_zone=+1"});
    EXPECT_EQ(shown(zone).substr(0, 20 + unknown.size()), "error fw_time_zone: " + unknown);
    EXPECT_EQ(zone.effect, "finds no rule, and never applies daylight saving");
    EXPECT_EQ(zone.fix, "fw_time_zone=+1a");
    expect_rows({
        {{"fw_time_zone=+5 a1", "time_zone=GMT+5 a1", "time_daylight=1"}, {}},
        {{"time_zone=Berlin"}, {"warning time_zone: has no sign after its first three letters"}},
        {{"time_zone=Berlin", "time_daylight=1"},
         {"error time_zone: has no sign after its first three letters"}},
        {{"time_zone=GMT-14"}, {}},
        {{"time_zone=GMT-15"},
         {"warning time_zone: is beyond the world's time zones, which go from GMT-14 to GMT+12"}},
        {{"time_zone=GMT+12"}, {}},
        {{"time_zone=GMT+13"},
         {"warning time_zone: is beyond the world's time zones, which go from GMT-14 to GMT+12"}},
        {{"time_daylight=1", "fw_time_zone="},
         {"warning fw_time_zone: is empty, but time_daylight=1 needs it"}},
        {{"fw_time_zone="}, {}},
        {{"ntp_custom=1"}, {"error ntp_server: is empty, but ntp_custom=1 needs it"}},
        {{"ntp_custom=1", "ntp_server=pool.ntp.org"}, {}},
    });
}

TEST(CheckServices, ChecksBootAndAccessPoint) {
    expect_rows({
        {{"restore_default=1"}, {"warning restore_default: is on"}},
        {{"ap_mode=1"},
         {"note ap_dns: is empty, but ap_mode=1 needs it",
          "note ap_gateway: is empty, but ap_mode=1 needs it"}},
        {{"ap_mode=1", "ap_gateway=192.168.1.254", "ap_dns=192.168.1.1"},
         {"error ap_dns: is the router's own address"}},
        {{"ap_dns=192.168.1.1"}, {}},
    });
}

TEST(CheckLists, ReportsDuplicates) {
    const std::string a = "00:11:22:33:44:aa";
    const std::string b = "00:11:22:33:44:bb";
    expect_rows({
        {{"wifi_access_list=" + a + "\\x01" + b + "\\x0100:11:22:33:44:AA"},
         {"note wifi_access_list: entry 3 has the mac of entry 1, '00:11:22:33:44:AA'"}},
        {{"access_group=" + a + "\\x01" + a},
         {"note access_group: entry 2 has the mac of entry 1, '" + a + "'"}},
        {{"fw_block_keyword=one\\x01One\\x01one"},
         {"note fw_block_keyword: entry 3 has the keyword of entry 1, 'one'"}},
        {{"fw_services=IRC:tcp:6667-6667\\x01IRC:tcp:7000-7000"},
         {"warning fw_services: entry 2 has the name of entry 1, 'IRC'"}},
        {{"pcdb_list=a;192.168.1.40;" + a + "\\x01" + "b;192.168.1.40;" + b},
         {"warning pcdb_list: entry 2 has the address of entry 1, '192.168.1.40'"}},
        {{"pcdb_list=a;192.168.1.40;" + a + "\\x01" + "b;192.168.1.41;" + a},
         {"warning pcdb_list: entry 2 has the mac of entry 1, '" + a + "'"}},
        // Missing fields are not duplicates.
        {{"pcdb_list=a;192.168.1.40;\\x01"
          "b;192.168.1.41;"},
         {"error pcdb_list: entry 1, field mac: is empty; expected a MAC address such as"
          " 00:11:22:33:44:55",
          "error pcdb_list: entry 2, field mac: is empty; expected a MAC address such as"
          " 00:11:22:33:44:55"}},
        {{"wds_list1=" + a, "wds_list3=" + a}, {"warning wds_list3: is the peer of wds_list1"}},
    });
}

}  // namespace
