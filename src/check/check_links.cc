// WDS links and WPS.
#include "check/check_parts.h"

namespace nvram {

namespace {

constexpr const char* peers[] = {"wds_list1", "wds_list2", "wds_list3", "wds_list4"};

void check_peers(Check& check) {
    bool any = false;
    for (const char* const key : peers) {
        const std::string_view peer = text_of(check, key);
        if (peer.empty()) continue;
        any = true;
        if (!same_letters(peer, text_of(check, "lan_assign_mac"))) continue;
        add(check, Level::Error, key,
            {.problem = "is the router's own MAC address",
             .effect = "passes the driver a link to itself",
             .fix = "the other access point's MAC address"});
    }
    if (any) return;
    add(check, Level::Warning, "wds_enable",
        {.problem = "is on, but no peer is set",
         .effect = "configures the driver for WDS without links",
         .fix = "wds_list1=00:11:22:33:44:55"});
}

void check_link_security(Check& check) {
    const int mode = number_of(check, "wifi_wep_on");
    if (mode >= 4)
        add(check, Level::Warning, "wifi_wep_on",
            {.problem = "has no counterpart for WDS links",
             .effect = "leaves the links unencrypted (WdsEncrypType=NONE)",
             .fix = "wifi_wep_on=3 with wifi_psk2_pwd"});
    const char* const cipher = mode == 2   ? "wifi_wpapsk_key"
                               : mode == 3 ? "wifi_wpa2psk_key"
                                           : nullptr;
    if (cipher == nullptr || text_of(check, cipher) != "TKIPAES") return;
    add(check, Level::Warning, cipher,
        {.problem = "selects two ciphers, but a WDS link uses one",
         .effect = "writes WdsEncrypType=TKIPAES, which the driver does not support",
         .fix = assignment(cipher, "AES")});
}

void check_link_channel(Check& check) {
    if (text_of(check, "wifi_channel") != "auto") return;
    add(check, Level::Warning, "wifi_channel",
        {.problem = "is auto, but WDS peers must share one channel",
         .effect = "lets the driver choose a new one each time",
         .fix = "the peers' channel"});
}

// The eighth digit makes the sum of all, the odd places threefold, a multiple of ten.
bool is_wps_pin(std::string_view pin) {
    if (pin.size() != 8) return false;
    int sum = 0;
    for (std::size_t i = 0; i < pin.size(); ++i) {
        if (pin[i] < '0' || pin[i] > '9') return false;
        sum += (pin[i] - '0') * (i % 2 == 0 ? 3 : 1);
    }
    return sum % 10 == 0;
}

void check_wps(Check& check) {
    const std::string_view pin = text_of(check, "wsc_device_pin");
    if (!pin.empty() && !is_wps_pin(pin))
        add(check, Level::Warning, "wsc_device_pin",
            {.problem = "is not a PIN of 8 digits whose last one is the check digit",
             .effect = "passes it to the driver, and clients reject it",
             .fix = "wsc_device_pin= for the board's own"});
    const int mode = number_of(check, "wifi_wep_on");
    if (mode != 1 && mode < 5) return;
    add(check, Level::Warning, "h_wsc_enable",
        {.problem = "is on, but WPS supports neither WEP nor RADIUS",
         .effect = "starts WPS, with which no client can join",
         .fix = "h_wsc_enable=0"});
}

}  // namespace

void check_wds_and_wps(Check& check) {
    const bool station = is_on(check, "wifi_ap_mode") && begins_with(check, "ap_mode", '0');
    if (station || begins_with(check, "wifi_dot11_mode", '0')) return;
    if (is_on(check, "wds_enable")) {
        check_peers(check);
        check_link_security(check);
        check_link_channel(check);
    }
    if (is_on(check, "h_wsc_enable")) check_wps(check);
}

}  // namespace nvram
