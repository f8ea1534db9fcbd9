// The radio: the access point driver's settings, bring-up and tear-down, station mode.
#ifndef RC_WIRELESS_WIRELESS_H
#define RC_WIRELESS_WIRELESS_H

#include <span>
#include <string>
#include <string_view>

#include "core/nvram.h"

// wifi.cc: the handlers of "wlan". They return 0.
int start_wifi();
int stop_wifi();
int save_wifi();

// ap_settings.cc: writes /var/RT2860AP.dat and /tmp/wifi_acc. 1 if both were written, 0 if the
// radio is off or a file could not be opened.
int create_wifi_cfg();

// The driver's channel set for a region: 0 in the USA and Canada, else 1.
int country_region(const Setting& region);

// ap_lists.cc

// The MAC addresses of records separated by bytes 0x01, joined by ";": the first 17 characters of
// each record, as many records as fit.
std::string joined_access_list(std::string_view records);
// The WDS peers, joined by ";", as many as fit. Counts all peers with a MAC address in the run's
// state.
std::string joined_wds_peers(std::span<const Setting> peers);

// station.cc: loads the station's driver and makes it join a network. Always 0.
int start_sta();
// Writes /tmp/sta.sh. 1 if it was written, else 0.
int create_sta_script();
// Copies a text with a backslash before every character that is in specials.
void ConertSpecialChar(const char* source, std::string& destination, std::string_view specials);

// The mode that the system gives its scripts: 777 in hexadecimal, octal 3567. The owner can read
// and run them.
constexpr unsigned script_mode = 0x777;

#endif
