// The two application tables: the handlers that a name on the command line starts, stops and
// creates with.

#include "rc/apps.h"

#include <span>
#include <string_view>

#include "firewall/firewall.h"
#include "lan/lan.h"
#include "sched/sched.h"
#include "wan/wan.h"
#include "wireless/wireless.h"

// The order of the rows is the order in which a whole group is started, stopped or created.

constexpr rc_app rc_apps[] = {
    {.name = "lan", .start = start_lan, .stop = nullptr, .create = nullptr},
    {.name = "printk", .start = start_printk, .stop = stop_printk, .create = nullptr},
    {.name = "wlan", .start = start_wifi, .stop = stop_wifi, .create = save_wifi},
    {.name = "syslogd", .start = start_syslog, .stop = stop_syslog, .create = create_syslog},
    {.name = "httpd", .start = start_httpd, .stop = stop_httpd, .create = create_httpd_cfg},
    {.name = "dhcpd",
     .start = start_dhcp_server,
     .stop = stop_dhcp_server,
     .create = create_dhcp_server_cfg},
    {.name = "ntp", .start = start_ntp, .stop = stop_ntp, .create = nullptr},
    {.name = "route", .start = start_static_route, .stop = stop_static_route, .create = nullptr},
    {.name = "ripd",
     .start = start_rip_daemon,
     .stop = stop_rip_daemon,
     .create = create_rip_daemon_cfg},
    {.name = "upnp", .start = start_upnp, .stop = stop_upnp, .create = nullptr},
    {},
};

constexpr rc_app rc_services[] = {
    {.name = "wan_basic", .start = start_wan_basic, .stop = stop_wan_basic, .create = nullptr},
    {.name = "firewall",
     .start = start_firewall,
     .stop = stop_firewall,
     .create = create_firewall_cfg},
    {.name = "igmp", .start = start_igmp, .stop = stop_igmp, .create = nullptr},
    {.name = "schedule", .start = start_schedule, .stop = nullptr, .create = create_crontab},
    {.name = "ddns", .start = start_ddns_update, .stop = nullptr, .create = nullptr},
    {},
};

namespace {

constexpr bool well_formed(std::span<const rc_app> list) {
    if (list.back().name) return false;
    list = list.first(list.size() - 1);
    for (size_t i = 0; i < list.size(); i++) {
        if (!list[i].name || !*list[i].name) return false;
        for (size_t k = 0; k < i; k++)
            if (std::string_view(list[i].name) == list[k].name) return false;
    }
    return true;
}

static_assert(well_formed(rc_apps), "a list ends with an empty row and names nothing twice");
static_assert(well_formed(rc_services), "a list ends with an empty row and names nothing twice");

}  // namespace
