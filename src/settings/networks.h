// The keys of the settings of each wireless network: what writes the driver's lines and what checks
// the settings read the same ones.
#ifndef RC_SETTINGS_NETWORKS_H
#define RC_SETTINGS_NETWORKS_H

struct NetworkKeys {
    const char* ssid;
    const char* mode;  // 0 open, 1 WEP, 2 WPA, 3 WPA2 with a pass phrase, 5 and 6 with RADIUS
    const char* auth_type;
    const char* default_key;
    const char* key_length;  // nullptr: the length of a key decides
    const char* wpa_cipher;
    const char* wpa2_cipher;
    const char* wpa_phrase;
    const char* wpa2_phrase;
    const char* wep_keys[4];
};

inline constexpr NetworkKeys first_network_keys = {
    .ssid = "wifi_ssid",
    .mode = "wifi_wep_on",
    .auth_type = "wifi_auth_type",
    .default_key = "wifi_def_key",
    .key_length = "wifi_key_len",
    .wpa_cipher = "wifi_wpapsk_key",
    .wpa2_cipher = "wifi_wpa2psk_key",
    .wpa_phrase = "wifi_psk_pwd",
    .wpa2_phrase = "wifi_psk2_pwd",
    .wep_keys = {"wifi_key1", "wifi_key2", "wifi_key3", "wifi_key4"},
};

inline constexpr NetworkKeys second_network_keys = {
    .ssid = "wifi_ssid2",
    .mode = "wifi_wep_on2",
    .auth_type = "wifi_auth_type2",
    .default_key = "wifi_def_key2",
    .key_length = "wifi_key_len2",
    .wpa_cipher = "wifi_wpapsk_key2",
    .wpa2_cipher = "wifi_wpa2psk_key2",
    .wpa_phrase = "wifi_psk_pwd2",
    .wpa2_phrase = "wifi_psk2_pwd2",
    .wep_keys = {"wifi_key12", "wifi_key22", "wifi_key32", "wifi_key42"},
};

// The network that the router joins as a client.
inline constexpr NetworkKeys station_keys = {
    .ssid = "sta_ssid",
    .mode = "wifi_wep_on3",
    .auth_type = "wifi_auth_type3",
    .default_key = "wifi_def_key3",
    .key_length = nullptr,
    .wpa_cipher = "wifi_wpapsk_key3",
    .wpa2_cipher = "wifi_wpa2psk_key3",
    .wpa_phrase = "wifi_psk_pwd3",
    .wpa2_phrase = "wifi_psk2_pwd3",
    .wep_keys = {"wifi_key13", "wifi_key23", "wifi_key33", "wifi_key43"},
};

#endif
