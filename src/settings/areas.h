// The groups of the table of all settings, one constant for each; table.cc puts them
// together. Each is defined in settings_<area>.cc.
#ifndef RC_SETTINGS_AREAS_H
#define RC_SETTINGS_AREAS_H

#include <span>

#include "core/limits.h"
#include "core/wan_modes.h"
#include "settings/table.h"

namespace nvram {

// settings_boot.cc
extern const std::span<const KnownSetting> boot_settings;

// settings_wan.cc, settings_wan_login.cc, settings_ddns.cc
extern const std::span<const KnownSetting> wan_settings;
extern const std::span<const KnownSetting> pppoe_settings;
extern const std::span<const KnownSetting> pptp_settings;
extern const std::span<const KnownSetting> l2tp_settings;
extern const std::span<const KnownSetting> login_client_settings;
extern const std::span<const KnownSetting> ddns_settings;

// settings_lan.cc, settings_services.cc
extern const std::span<const KnownSetting> lan_settings;
extern const std::span<const KnownSetting> dhcp_server_settings;
extern const std::span<const KnownSetting> route_settings;
extern const std::span<const KnownSetting> web_settings;
extern const std::span<const KnownSetting> log_settings;
extern const std::span<const KnownSetting> multicast_settings;

// settings_time.cc
extern const std::span<const KnownSetting> time_settings;

// settings_firewall.cc
extern const std::span<const KnownSetting> firewall_settings;
extern const std::span<const KnownSetting> forward_settings;
extern const std::span<const KnownSetting> block_settings;

// settings_qos.cc
extern const std::span<const KnownSetting> qos_settings;

// settings_radio.cc, settings_radio_security.cc, settings_wireless_client.cc
extern const std::span<const KnownSetting> radio_settings;
extern const std::span<const KnownSetting> network_settings;
extern const std::span<const KnownSetting> guest_network_settings;
extern const std::span<const KnownSetting> radio_access_settings;
extern const std::span<const KnownSetting> station_settings;
extern const std::span<const KnownSetting> repeater_settings;

}  // namespace nvram

#endif
