// Security of the access point's networks.
#ifndef RC_WIRELESS_AP_SECURITY_H
#define RC_WIRELESS_AP_SECURITY_H

#include "core/file.h"

// Writes the security lines of the driver's settings, for one network or two, and turns on the
// security indicator for each secured network.
void write_one_ssid_security(File& settings);
void write_two_ssid_security(File& settings);

#endif
