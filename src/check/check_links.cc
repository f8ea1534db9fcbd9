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
        if (edit_distance(peer, text_of(check, "lan_assign_mac"), 0) != 0) continue;
        add(check, Level::Error, key,
            {.problem = "is the router's own MAC address",
             .effect = "hands the driver a link to itself",
             .cure = "the other access point's MAC address"});
    }
    if (any) return;
    add(check, Level::Warning, "wds_enable",
        {.problem = "is on, and no peer is set",
         .effect = "tells the driver of WDS without links",
         .cure = "wds_list1=00:11:22:33:44:55"});
}

void check_link_security(Check& check) {
    const int mode = number_of(check, "wifi_wep_on");
    if (mode >= 4)
        add(check, Level::Warning, "wifi_wep_on",
            {.problem = "has no counterpart for WDS links",
             .effect = "leaves the links unencrypted (WdsEncrypType=NONE)",
             .cure = "wifi_wep_on=3 with wifi_psk2_pwd"});
    const char* const cipher = mode == 2   ? "wifi_wpapsk_key"
                               : mode == 3 ? "wifi_wpa2psk_key"
                                           : nullptr;
    if (cipher == nullptr || text_of(check, cipher) != "TKIPAES") return;
    add(check, Level::Warning, cipher,
        {.problem = "is two ciphers, and a WDS link has one",
         .effect = "writes WdsEncrypType=TKIPAES, which the driver does not know",
         .cure = assignment(cipher, "AES")});
}

void check_link_channel(Check& check) {
    if (text_of(check, "wifi_channel") != "auto") return;
    add(check, Level::Warning, "wifi_channel",
        {.problem = "is auto, and WDS peers have to be on one channel",
         .effect = "has the driver choose, each time anew",
         .cure = "the peers' channel"});
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
            {.problem = "is no PIN of 8 digits whose last one is the check digit",
             .effect = "hands it to the driver, and clients refuse it",
             .cure = "wsc_device_pin= for the board's own"});
    const int mode = number_of(check, "wifi_wep_on");
    if (mode != 1 && mode < 5) return;
    add(check, Level::Warning, "h_wsc_enable",
        {.problem = "is on, and WPS knows neither WEP nor RADIUS",
         .effect = "starts WPS, which hands out nothing that joins",
         .cure = "h_wsc_enable=0"});
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
