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
    {"wlan", "restart"},    {"route", "restart"},   {"ripd", "start"},      {"upnp", "restart"},
    {"igmp", "restart"},    {"ntp", "restart"},     {"syslogd", "start"},   {"stop", nullptr},
    {"firewall", "start"},  {"firewall", "create"}, {"firewall", "stop"},   {"schedule", "start"},
    {"schedule", "create"},
};

constexpr const char* wan_modes[] = {"", "dhcpc", "pppoe", "pptp", "l2tp", "bpa", "ras", "ip"};

constexpr const char* keys[] = {
    "Pkt_Agg",
    "ShortSlot",
    "TxPreamble",
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
    "e_channel",
    "enable_ssid2",
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
    "h_wsc_enable",
    "http_password",
    "http_realm",
    "http_timeout",
    "http_username",
    "igmp_enable",
    "igmp_port",
    "igmp_version",
    "isolation",
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
    "log_block",
    "log_dos",
    "log_enable",
    "log_gateway",
    "log_login",
    "log_outgoing",
    "log_remote_ip",
    "log_type",
    "mail_block",
    "mail_dos",
    "mail_enable",
    "mail_enable_auth",
    "mail_logfull",
    "mail_login",
    "mail_password",
    "mail_portscan",
    "mail_recipient",
    "mail_sender",
    "mail_sendlog",
    "mail_server",
    "mail_sh_day",
    "mail_sh_hour",
    "mail_title",
    "ntp_custom",
    "ntp_server",
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
    "qos_ds",
    "qos_enable",
    "qos_type",
    "ras_dod",
    "ras_login",
    "restore_default",
    "rt_rip_direction",
    "rt_rip_version",
    "rt_static_route",
    "ssid_apcli_wds",
    "sta_ssid",
    "static_mtu",
    "time_daylight",
    "time_zone",
    "upgrade_default",
    "upnp_adv_time",
    "upnp_enable",
    "upnp_ttl",
    "wan_account",
    "wan_bandwidth",
    "wan_dns1",
    "wan_dns2",
    "wan_dns3",
    "wan_dod",
    "wan_domain",
    "wan_fix_dns",
    "wan_ifname",
    "wan_ifname1",
    "wan_iptype_pppoe",
    "wan_line",
    "wan_macaddr",
    "wan_macaddr_default",
    "wan_mtu",
    "wan_phy_ifname",
    "wds_enable",
    "wds_list1",
    "wds_list2",
    "wds_list3",
    "wds_list4",
    "wds_type",
    "wifi_BasicRate",
    "wifi_HT_RxStream",
    "wifi_HT_TxStream",
    "wifi_TxPower",
    "wifi_access_control",
    "wifi_access_list",
    "wifi_ap_mode",
    "wifi_auth_type",
    "wifi_auth_type2",
    "wifi_auth_type3",
    "wifi_auth_type5",
    "wifi_bandwidth",
    "wifi_beacon",
    "wifi_broadcast_ssid",
    "wifi_channel",
    "wifi_def_key",
    "wifi_def_key2",
    "wifi_def_key3",
    "wifi_def_key5",
    "wifi_dot11_mode",
    "wifi_dtim",
    "wifi_fragment",
    "wifi_key1",
    "wifi_key12",
    "wifi_key2",
    "wifi_key22",
    "wifi_key3",
    "wifi_key32",
    "wifi_key4",
    "wifi_key42",
    "wifi_key_len",
    "wifi_key_len2",
    "wifi_psk2_pwd",
    "wifi_psk2_pwd2",
    "wifi_psk2_pwd3",
    "wifi_psk_pwd",
    "wifi_psk_pwd2",
    "wifi_psk_pwd3",
    "wifi_radius_port",
    "wifi_radius_pwd",
    "wifi_radius_server",
    "wifi_region",
    "wifi_rts",
    "wifi_ssid",
    "wifi_ssid2",
    "wifi_sta_region",
    "wifi_wep_on",
    "wifi_wep_on2",
    "wifi_wep_on3",
    "wifi_wep_on5",
    "wifi_wmm_ap",
    "wifi_wmm_sta",
    "wifi_wpa2psk_key",
    "wifi_wpa2psk_key2",
    "wifi_wpa2psk_key3",
    "wifi_wpapsk_key",
    "wifi_wpapsk_key2",
    "wifi_wpapsk_key3",
    "wifi_wsc_configured",
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
