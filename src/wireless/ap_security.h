// Security of the access point's networks.
#ifndef RC_WIRELESS_AP_SECURITY_H
#define RC_WIRELESS_AP_SECURITY_H

#include "core/file.h"
#include "core/nvram.h"
#include "settings/networks.h"

// One network's settings, all read when it is made.
struct SecuritySettings {
    explicit SecuritySettings(const NetworkKeys& keys);

    Setting mode;
    Setting auth_type;
    Setting default_key;
    Setting key_length;
    Setting wpa_cipher;
    Setting wpa2_cipher;
    Setting wpa_phrase;
    Setting wpa2_phrase;
    Setting wep_keys[4];
};

// The driver's word for the authentication of a WEP network.
const char* wep_auth_word(const Setting& type);

// Writes the security lines of the driver's settings, for one network or two, and turns on the
// security indicator for each secured network.
void write_one_ssid_security(File& settings, const SecuritySettings& network);
void write_two_ssid_security(File& settings, const SecuritySettings& first,
                             const SecuritySettings& second);

#endif
