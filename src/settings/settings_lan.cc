// Rows of the table of all settings: LAN, DHCP server, static routes and RIP.
#include "settings/areas.h"

namespace nvram {

static constexpr Need as_access_point = {.when = if_on("ap_mode"), .level = Level::Note};

static constexpr KnownSetting lan_rows[] = {
    {.key = "lan_if",
     .form = Form::Interface,
     .factory = "br0",
     .when_empty = "LAN rules and commands name no interface and fail",
     .when_absent = "the firewall uses br0; other commands name no interface; QoS is not removed",
     .help = "interface that carries the LAN's address; QoS keeps only 10 characters of the name"},
    {.key = "lan_ipaddr",
     .form = Form::Address,
     .factory = "192.168.1.1",
     .when_empty = "the LAN gets no address, and firewall rules that name it fail",
     .help = "the router's LAN address"},
    {.key = "lan_netmask",
     .form = Form::Netmask,
     .factory = "255.255.255.0",
     .when_empty = "ifconfig fails, so the LAN gets no address; DHCP clients get no netmask",
     .help = "netmask of the LAN, also handed out by the DHCP server"},
    {.key = "lan_bipaddr",
     .form = Form::Quad,
     .factory = "192.168.1.255",
     .when_empty = "ifconfig fails, so the LAN gets no address",
     .help = "broadcast address of the LAN; must match lan_ipaddr and lan_netmask"},
    {.key = "ap_gateway",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "192.168.1.254",
     .when_empty = "no default route is set",
     .needed = &as_access_point,
     .help = "access point mode: the default gateway"},
    {.key = "ap_dns",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "192.168.1.254",
     .when_empty = "/tmp/resolv.conf is not written",
     .needed = &as_access_point,
     .help = "access point mode: the name server"},
};
constexpr std::span<const KnownSetting> lan_settings = lan_rows;

static constexpr Field reservation_fields[] = {
    {.name = "host",
     .form = Form::Text,
     .may_be_empty = true,
     .high = limits::lease_host_name,
     .help = "host name, for the lease list only"},
    {.name = "address",
     .form = Form::Address,
     .twice_level = Level::Warning,
     .twice = "ends the lease of the earlier entry",
     .help = "its last number must be within the pool; the first number is taken from lan_ipaddr"},
    {.name = "mac",
     .form = Form::Mac,
     .twice_level = Level::Warning,
     .twice = "keeps only the later entry"},
};
// The lease file holds no more records.
static constexpr Record reservation_record = {.between = '\x01',
                                              .shape = "host;address;mac",
                                              .fields = reservation_fields,
                                              .most = limits::leases};

// In days: a longer time, in seconds, does not fit the 32 bits of a lease time.
static constexpr std::int32_t longest_lease = 49710;

static constexpr KnownSetting dhcp_server_rows[] = {
    {.key = "dhcp_server_enable",
     .form = Form::Flag,
     .factory = "1",
     .when_empty = "the DHCP server is not started, and its leases are kept",
     .when_wrong = "neither starts the DHCP server nor deletes its leases",
     .help = "DHCP server: on (1), or off with its leases deleted (0)"},
    {.key = "dhcp_start_ip",
     .form = Form::Address,
     .factory = "192.168.1.33",
     .when_empty = "udhcpd gets no first address; reservations have no lower limit",
     .help = "first address of the pool"},
    {.key = "dhcp_end_ip",
     .form = Form::Address,
     .factory = "192.168.1.64",
     .when_empty =
         "udhcpd gets no last address; all reservations lie beyond the pool and are left out",
     .help = "last address of the pool"},
    {.key = "lan_lease_time",
     .form = Form::Number,
     .low = 1,
     .high = longest_lease,
     .factory = "1",
     .when_empty = "leases last 0 s",
     .help = "lease time, in days"},
    {.key = "dhcp_server_extended_option",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "enable disable",
     .factory = "disable",
     .when_empty = "as disable",
     .when_wrong = "treats it as off: only enable turns it on",
     .help = "if enable, dhcp_gateway_ip and dhcp_dns_ip are handed out"},
    {.key = "dhcp_gateway_ip",
     .form = Form::Address,
     .may_be_empty = true,
     .factory = "0.0.0.0",
     .when_empty = "lan_ipaddr is handed out, as with 0.0.0.0",
     .help = "default router handed out if dhcp_server_extended_option is enable, unless 0.0.0.0"},
    {.key = "dhcp_dns_ip",
     .form = Form::Address,
     .may_be_empty = true,
     .factory = "0.0.0.0",
     .when_empty =
         "the servers in /etc/resolv.conf are handed out, or lan_ipaddr if it lists no server",
     .when_wrong = "hands it out with dhcp_server_extended_option=enable; without, it makes rc hand"
                   " out lan_ipaddr",
     .help = "name server handed out if dhcp_server_extended_option is enable, unless 0.0.0.0"},
    {.key = "pcdb_list",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &reservation_record,
     .example = "pc1;192.168.1.20;00:11:22:aa:bb:cc",
     .when_empty = "no address is reserved",
     .help = "address reservations: the address that a host, identified by its MAC address, always"
             " gets"},
};
constexpr std::span<const KnownSetting> dhcp_server_settings = dhcp_server_rows;

static constexpr Field route_fields[] = {
    {.name = "name",
     .form = Form::Text,
     .high = limits::route_name,
     .help = "must not contain a space"},
    {.name = "destination", .form = Form::Quad},
    {.name = "netmask", .form = Form::Netmask},
    {.name = "gateway", .form = Form::Address},
    // In RIP, 16 means infinity.
    {.name = "metric", .form = Form::Number, .high = 15},
    {.name = "listed", .form = Form::Choice, .choices = "0 1", .help = "1: listed in /tmp/sroute"},
    {.name = "active",
     .form = Form::Choice,
     .choices = "0 1",
     .help = "enabled (1) or disabled (0)"},
};
static constexpr Record route_record = {
    .between = ' ',
    .shape = "name:destination:netmask:gateway:metric:listed:active",
    .fields = route_fields,
    .most = limits::static_routes};

static constexpr KnownSetting route_rows[] = {
    {.key = "rt_static_route",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &route_record,
     .example = "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1",
     .when_empty = "no route is set",
     .help = "static routes; only the first is added to the kernel's routing table"},
    {.key = "rt_rip_direction",
     .form = Form::Choice,
     .choices = "0 i o b",
     .factory = "0",
     .when_empty = "RIP runs in both directions",
     .when_wrong = "runs RIP in both directions",
     .help = "RIP on the WAN: off (0), receive (i), send (o), both (b)"},
    {.key = "rt_rip_version",
     .form = Form::Choice,
     .choices = "1 2 2B",
     .factory = "2",
     .when_empty = "routed reads its next option as the version",
     .when_wrong =
         "treats a value that starts with 2B as 2B, any other that starts with 2 as 2, and"
         " passes the rest to routed unchanged",
     .help = "version of RIP: 1, 2, or 2 with broadcasts (2B)"},
};
constexpr std::span<const KnownSetting> route_settings = route_rows;

}  // namespace nvram
