// The table of all settings, put together from its areas.
#include "settings/table.h"

#include "settings/areas.h"

namespace nvram {

std::span<const SettingGroup> setting_groups() {
    // Within the function: the areas' spans are other files' constants, and nothing runs before
    // main.
    static const SettingGroup groups[] = {
        {.title = "Boot and board", .settings = boot_settings},
        {.title = "WAN", .settings = wan_settings},
        {.title = "PPPoE", .settings = pppoe_settings},
        {.title = "PPTP", .settings = pptp_settings},
        {.title = "L2TP", .settings = l2tp_settings},
        {.title = "BigPond and RAS login", .settings = login_client_settings},
        {.title = "Dynamic DNS", .settings = ddns_settings},
        {.title = "LAN", .settings = lan_settings},
        {.title = "DHCP server", .settings = dhcp_server_settings},
        {.title = "Static routes and RIP", .settings = route_settings},
        {.title = "Web interface", .settings = web_settings},
        {.title = "System log and mail", .settings = log_settings},
        {.title = "Multicast and UPnP", .settings = multicast_settings},
        {.title = "Time and schedules", .settings = time_settings},
        {.title = "Firewall", .settings = firewall_settings},
        {.title = "Port forwarding", .settings = forward_settings},
        {.title = "Access control and URL blocking", .settings = block_settings},
        {.title = "QoS", .settings = qos_settings},
        {.title = "Radio", .settings = radio_settings},
        {.title = "Wireless network 1", .settings = network_settings},
        {.title = "Wireless network 2, for guests", .settings = guest_network_settings},
        {.title = "Wireless access list, WPS and WDS", .settings = radio_access_settings},
        {.title = "The router as a wireless station", .settings = station_settings},
        {.title = "The router as a wireless repeater", .settings = repeater_settings},
    };
    return groups;
}

const KnownSetting* find_known(std::string_view key) {
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& setting : group.settings)
            if (key == setting.key) return &setting;
    return nullptr;
}

}  // namespace nvram
