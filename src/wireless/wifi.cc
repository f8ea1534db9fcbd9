// Bringing the radio up and down. Writes /var/wifi_on and /var/wifi_off; runs insmod, ifconfig,
// brctl, iwpriv, wscd, rt2860apd and /tmp/wifi_acc.

#include <string>

#include "core/command.h"
#include "core/limits.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/run_state.h"
#include "core/text.h"
#include "wireless/wireless.h"

namespace {

// Read together at the start, which takes seconds: a save during it must not mix two
// configurations.
struct WifiSettings {
    bool second_ssid = nvram_text("enable_ssid2").on();
    bool wps = nvram_text("h_wsc_enable").on();
    Setting lan_address = nvram_text("lan_ipaddr");
    long long wps_configured = nvram_text("wifi_wsc_configured").number();
    Setting wps_pin = nvram_text("wsc_device_pin");
    bool wds = nvram_text("wds_enable").on();
    Setting security = nvram_text("wifi_wep_on");
    bool radio_off = nvram_text("wifi_dot11_mode").off();
    Setting mac = nvram_text("lan_assign_mac");
    Setting ap_mode = nvram_text("ap_mode");
    bool station = nvram_text("wifi_ap_mode").on() && ap_mode.off();
};

void start_second_ssid(const Setting& ap_mode) {
    SYSTEM("/sbin/ifconfig ra1 up");
    SYSTEM("/sbin/brctl addif br0 ra1");
    platform::sleep_seconds(1);
    // Keeps the guests of the second network off the LAN. The module's name has this spelling.
    SYSTEM("/sbin/insmod /lib/modules/br_seperate.ko if0=br0 if1=ra1 mode=%.1s", ap_mode.text());
}

void start_wps(const WifiSettings& wifi) {
    if (!wifi.wps) {
        SYSTEM("/sbin/iwpriv ra0 set WscConfMode=0");
        return;
    }
    const std::string lan_address(cut(wifi.lan_address.view(), limits::own_address));
    // Simple Service Discovery packets go to the LAN.
    SYSTEM("/sbin/route add -host 239.255.255.250 dev br0");
    SYSTEM("/usr/bin/killall -9 wscd 1>/dev/null 2>&1");
    SYSTEM("/usr/sbin/wscd -m 1 -a %s -i ra0 &", lan_address.c_str());
    SYSTEM("/sbin/iwpriv ra0 set WscConfMode=7");
    // 1 is unconfigured, 2 configured.
    SYSTEM("/sbin/iwpriv ra0 set WscConfStatus=%lld", wifi.wps_configured + 1);
    SYSTEM("/sbin/iwpriv ra0 set WscGenPinCode=%s", wifi.wps_pin.text());
}

// Starts one link for each peer in the settings file that this run wrote.
void start_wds_links() {
    for (int link = 0; link < run_state().wds_peer_count; link++) {
        SYSTEM("/sbin/brctl addif br0 wds%d", link);
        SYSTEM("/sbin/ifconfig wds%d up", link);
        platform::sleep_seconds(1);
    }
}

void start_access_point(const WifiSettings& wifi) {
    SYSTEM("/usr/bin/killall -9 rt2860apd >/dev/null 2>&1");
    // The driver is loaded before its settings file is written; it reads the file when ra0 is
    // brought up.
    SYSTEM(
        "/sbin/insmod /lib/modules/2.6.21/kernel/drivers/net/wireless_3200/rt2860v2_ap/"
        "rt2860v2_ap.ko mac=%s",
        wifi.mac.text());
    if (create_wifi_cfg() == 0) {
        print_line("wireless not initialized");
        return;
    }
    platform::sleep_seconds(3);
    SYSTEM("/sbin/ifconfig ra0 up");
    SYSTEM("/sbin/brctl addif br0 ra0");
    if (wifi.second_ssid) start_second_ssid(wifi.ap_mode);
    platform::sleep_seconds(1);
    start_wps(wifi);
    if (wifi.wds) start_wds_links();
    if (wifi.security.view().starts_with('5') || wifi.security.view().starts_with('6'))
        SYSTEM("/usr/sbin/rt2860apd &");
    platform::set_mode("/tmp/wifi_acc", script_mode);
    platform::run_shell("/tmp/wifi_acc");
}

}  // namespace

int start_wifi() {
    const WifiSettings wifi;
    if (!wifi.radio_off) {
        platform::remove_file("/var/wifi_off");
        platform::run_shell("/bin/echo wifi_on > /var/wifi_on");
    }
    if (wifi.station)
        start_sta();
    else
        start_access_point(wifi);
    return 0;
}

int stop_wifi() {
    // A start compares with "1", this with "0": with any other value wscd keeps running.
    const bool wps_off = nvram_text("h_wsc_enable").off();
    platform::remove_file("/var/RT2860AP.dat");
    platform::remove_file("/var/wifi_on");
    platform::run_shell("/bin/echo wifi_off > /var/wifi_off");
    platform::run_shell("/bin/echo security0 > /proc/led");
    platform::run_shell("/bin/echo wpsled0 > /proc/led");
    platform::run_shell("/sbin/brctl delif br0 wds3");
    platform::run_shell("/sbin/brctl delif br0 wds2");
    platform::run_shell("/sbin/brctl delif br0 wds1");
    platform::run_shell("/sbin/brctl delif br0 wds0");
    platform::run_shell("/sbin/ifconfig wds3 down");
    platform::run_shell("/sbin/ifconfig wds2 down");
    platform::run_shell("/sbin/ifconfig wds1 down");
    platform::run_shell("/sbin/ifconfig wds0 down");
    platform::run_shell("/sbin/brctl delif br0 ra0");
    platform::run_shell("/sbin/ifconfig ra0 down");
    platform::run_shell("/sbin/rmmod br_seperate");
    platform::run_shell("/sbin/brctl delif br0 ra1");
    platform::run_shell("/sbin/ifconfig ra1 down");
    if (wps_off) {
        platform::run_shell("/usr/bin/killall -9 wscd 1>/dev/null 2>&1");
        platform::run_shell("/sbin/iwpriv ra0 set WscConfMode=0");
    }
    run_state().wds_peer_count = 0;
    platform::run_shell("/sbin/rmmod rt2860v2_ap");
    platform::run_shell("/sbin/rmmod rt2860v2_sta");
    return 0;
}

// Nothing to do: the settings file is written at the start, when the driver reads it.
int save_wifi() {
    return 0;
}
