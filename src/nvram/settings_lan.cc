// Rows of the table of all settings: LAN, DHCP server, static routes and RIP.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting lan_rows[] = {
    {.key = "lan_ipaddr",
     .form = Form::Address,
     .factory = "192.168.1.1",
     .help = "the address of the router in the LAN"},
};
constexpr std::span<const KnownSetting> lan_settings = lan_rows;

static constexpr KnownSetting dhcp_server_rows[] = {
    {.key = "dhcp_start_ip",
     .form = Form::Address,
     .factory = "192.168.1.33",
     .help = "first address that is leased"},
};
constexpr std::span<const KnownSetting> dhcp_server_settings = dhcp_server_rows;

static constexpr KnownSetting route_rows[] = {
    {.key = "rt_rip_version",
     .form = Form::Choice,
     .choices = "1 2",
     .factory = "2",
     .help = "version of RIP"},
};
constexpr std::span<const KnownSetting> route_settings = route_rows;

}  // namespace nvram
