// Every action of rc from arbitrary settings and files, over the recording platform.

#include <fuzzer/FuzzedDataProvider.h>

#include "plan/recording.h"
#include "plan/settings.h"

namespace {

struct Action {
    const char* name;
    const char* action;
};

constexpr Action actions[] = {
    {"init", nullptr},      {"lan", "start"},       {"httpd", "start"},     {"dhcpd", "restart"},
    {"dhcpd", "create"},    {"start", nullptr},     {"service", "restart"}, {"wan", nullptr},
    {"wan", "start"},       {"wan", "stop"},        {"wan", "restart"},     {"ddns", "start"},
    {"firewall", "start"},  {"firewall", "create"}, {"firewall", "stop"},   {"schedule", "start"},
    {"schedule", "create"},
};

constexpr const char* wan_modes[] = {"", "dhcpc", "pppoe", "pptp", "l2tp", "bpa", "ras", "ip"};

constexpr const char* keys[] = {
    "ac_control",
    "ac_sch",
    "access_control",
    "access_group",
    "ap_dns",
    "ap_gateway",
    "ap_mode",
    "bpa_login",
    "bpa_password",
    "bpa_username",
    "ddns_enable",
    "ddns_host_name",
    "ddns_old_service",
    "ddns_password",
    "ddns_service_provider",
    "ddns_use_wildcards",
    "ddns_user_name",
    "device_name",
    "dhcp_dns_ip",
    "dhcp_end_ip",
    "dhcp_gateway_ip",
    "dhcp_server_enable",
    "dhcp_server_extended_option",
    "dhcp_start_ip",
    "ether_wan_ifname",
    "fix_gateway",
    "fix_ipaddr",
    "fix_netmask",
    "fw_block",
    "fw_block_keyword",
    "fw_block_trust",
    "fw_block_trust_enable",
    "fw_dmz",
    "fw_dmz_enable",
    "fw_in_rules",
    "fw_nat",
    "fw_out_rules",
    "fw_remote",
    "fw_remote_port",
    "fw_remote_range_end",
    "fw_remote_range_start",
    "fw_remote_single",
    "fw_remote_type",
    "fw_response_ping",
    "fw_schedule",
    "fw_schedule2",
    "fw_services",
    "fw_services_def",
    "fw_spapp",
    "fw_time_zone",
    "fw_trustenable",
    "fw_ttl",
    "fw_ttl_ud",
    "http_password",
    "http_realm",
    "http_timeout",
    "http_username",
    "igmp_enable",
    "l2tp_dod",
    "l2tp_idle",
    "l2tp_ipaddr",
    "l2tp_mtu",
    "l2tp_netmask",
    "l2tp_password",
    "l2tp_redial",
    "l2tp_server",
    "l2tp_type",
    "l2tp_username",
    "lan_assign_mac",
    "lan_bipaddr",
    "lan_if",
    "lan_ipaddr",
    "lan_lease_time",
    "lan_netmask",
    "log_access",
    "log_outgoing",
    "mail_sendlog",
    "mail_sh_day",
    "mail_sh_hour",
    "pcdb_list",
    "pppoe_idle",
    "pppoe_ipaddr",
    "pppoe_password",
    "pppoe_service",
    "pppoe_username",
    "pptp_dod",
    "pptp_fix_gateway",
    "pptp_fix_netmask",
    "pptp_id",
    "pptp_idle",
    "pptp_ipaddr",
    "pptp_password",
    "pptp_server",
    "pptp_server_domain",
    "pptp_server_type",
    "pptp_type",
    "pptp_username",
    "pptp_wan_dns1",
    "qos",
    "qos_enable",
    "qos_type",
    "ras_dod",
    "ras_login",
    "restore_default",
    "static_mtu",
    "time_daylight",
    "time_zone",
    "upgrade_default",
    "wan_account",
    "wan_bandwidth",
    "wan_dns1",
    "wan_dns2",
    "wan_dns3",
    "wan_dod",
    "wan_domain",
    "wan_fix_dns",
    "wan_ifname",
    "wan_iptype_pppoe",
    "wan_line",
    "wan_macaddr",
    "wan_macaddr_default",
    "wan_mtu",
    "wan_phy_ifname",
    "wireless_sch_en",
    "wl_schedule",
    "wsc_device_pin",
};

constexpr const char* files[] = {
    "/dev/mtd0",          "/etc/resolv.conf",      "/etc/version-ft",
    "/var/udhcpd.leases", "/var/run/rc.dhcpd.run", "/var/run/my_pid_service",
    "/proc/uptime",
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    Recording played;
    const Action action = input.PickValueInArray(actions);
    std::vector<std::string> words = {"rc", action.name};
    if (action.action) words.emplace_back(action.action);

    Settings settings;
    settings["wan_mode"] = input.PickValueInArray(wan_modes);
    while (input.remaining_bytes() > 0 && input.ConsumeBool()) {
        std::string value = input.ConsumeRandomLengthString(6000);
        const int what = input.ConsumeIntegralInRange(0, 7);
        if (what == 0) {
            played.world.outputs[input.PickValueInArray({"/bin/ps -ax", "/sbin/route -n"})] = value;
        } else if (what == 1) {
            played.world.interfaces["eth2.2"].address = "10.0.0.2";
        } else if (what <= 5) {
            // No value holds a zero byte.
            std::erase(value, '\0');
            settings[input.PickValueInArray(keys)] = value;
        } else {
            played.world.put(input.PickValueInArray(files), value);
        }
    }
    // Factory data lie deep in the partition; a flash of random length would hardly ever reach
    // them.
    if (const std::string* flash = played.world.get("/dev/mtd0"))
        played.world.put("/dev/mtd0", std::string(0x2FF70, '\0') + *flash);
    played.world.put(factory_image, settings_image(settings));
    played.world.put(working_copy, settings_image(settings));
    play(played, words);
    return 0;
}
