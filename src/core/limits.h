// Limits of lists and texts in settings. The handlers enforce them; the table of settings and nvram
// check state them. Each comment names the settings and the unit.
#ifndef RC_CORE_LIMITS_H
#define RC_CORE_LIMITS_H

#include <stddef.h>

namespace limits {

// A MAC address as text: six pairs of digits with five colons.
constexpr size_t mac_length = 17;

// "fw_in_rules" and "fw_out_rules": enabled records.
constexpr size_t single_forwards = 15;
constexpr size_t range_forwards = 10;

// "fw_spapp": characters in each of the two lists that are passed to the port triggering module.
constexpr size_t trigger_list = 511;

// "fw_services_def" and "fw_services": characters of a name.
constexpr size_t service_name = 14;

// "access_control": names, characters of a name, and characters of the ignored prefix.
constexpr size_t blocked_services = 100;
constexpr size_t blocked_service_name = 29;
constexpr size_t blocked_services_start = 4;

// "fw_block_keyword": characters of a keyword.
constexpr size_t keyword = 127;

// "qos": rules, and characters of a name.
constexpr size_t qos_rules = 20;
constexpr size_t qos_rule_name = 20;

// "pcdb_list": records that the DHCP server reads from its lease file; characters of a host name.
constexpr size_t leases = 254;
constexpr size_t lease_host_name = 15;

// "rt_static_route": routes that are set, and characters of a name.
constexpr size_t static_routes = 1;
constexpr size_t route_name = 29;

// "http_realm" and "device_name", "mail_title": characters.
constexpr size_t login_realm = 127;
constexpr size_t mail_subject = 127;

// "wifi_access_list" and the WDS peers: characters of the driver's lines, in which ";" separates
// the addresses.
constexpr size_t access_list = 1023;
constexpr size_t access_list_addresses = (access_list + 1) / (mac_length + 1);
constexpr size_t wds_list = 127;

// "lan_ipaddr" as the radio's own address: the longest dotted quad.
constexpr size_t own_address = 15;

// WMM: four numbers for each of four access categories.
constexpr size_t wmm_numbers = 16;

}  // namespace limits

#endif
