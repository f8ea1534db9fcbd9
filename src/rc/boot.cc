// Boot initialisation. Reads /dev/mtd0; writes /tmp/version and /var/wps_pin; runs /etc/rcS_router
// or /etc/rcS_ap.

#include "rc/boot.h"

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "libnvram/libnvram.h"
#include "rc/factory_data.h"

namespace {

// A reset to factory settings replaces the whole working copy, so the flag gets the factory image's
// value.
void apply_restore_default() {
    if (!nvram_value("restore_default").on()) return;
    SYSTEM("/bin/busybox cp %s %s", "/etc/default", "/tmp/nvram");
    nvram_zel_commit();
}

// After a firmware upgrade the service definitions come from the image file, not from the settings
// that were kept.
void apply_upgrade_default() {
    if (!nvram_text("upgrade_default").on()) return;
    const Setting services = nvram_image_text("fw_services_def", "/tmp/nvram");
    nvram_zel_set("fw_services_def", services.text());
    nvram_zel_set("upgrade_default", "0");
    nvram_zel_commit();
}

void assign_mac(const std::array<unsigned char, 6>& base) {
    const std::string lan_mac = mac_text(base, 0);
    if (nvram_text("lan_assign_mac").is(lan_mac)) return;

    const std::string next_mac = mac_text(base, 1);
    nvram_zel_set("assign_mac", next_mac.c_str());
    nvram_zel_set("wan_macaddr_default", next_mac.c_str());
    nvram_zel_set("lan_assign_mac", lan_mac.c_str());
    nvram_zel_set("lan_assign_mac_2", next_mac.c_str());
}

void start_router() {
    platform::run_shell("/bin/sh  /etc/rcS_router");
    if (nvram_text("wan_line").contains("wisp"))
        platform::run_shell("/usr/sbin/pppoe-relay -C br0 -S ra0&");
    else
        platform::run_shell("/usr/sbin/pppoe-relay -C br0 -S eth2.2&");
}

// In access-point mode, the router's start script does not run, so the Ethernet driver is loaded
// and the bridge is created here.
void start_access_point() {
    const Setting name_server = nvram_text("ap_dns");
    if (!name_server.empty())
        SYSTEM("/bin/echo \"nameserver %s\" > /tmp/resolv.conf", name_server.text());
    SYSTEM("/sbin/insmod /lib/modules/2.6.21/kernel/drivers/net/raeth/raeth.ko zl_lan_wan=0");
    SYSTEM("/sbin/ifconfig eth2 down");
    SYSTEM("/sbin/ifconfig eth2 hw ether %s", nvram_text("lan_assign_mac").text());
    SYSTEM("/sbin/ifconfig eth2 up");
    SYSTEM("/sbin/ifconfig lo 127.0.0.1");
    SYSTEM("/sbin/brctl addbr br0");
    SYSTEM("/sbin/brctl setfd br0 1");
    SYSTEM("/sbin/brctl stp br0 off");
    platform::sleep_seconds(1);
    SYSTEM("brctl addif br0 eth2");
    SYSTEM("brctl addif br0 ra0");
    platform::run_shell("/bin/sh  /etc/rcS_ap");
}

}  // namespace

int rc_init() {
    if (nvram_zel_load() != 0) {
        print_line("debug init rc -- nvram load failed ");
        platform::run_shell("/usr/sbin/nvram default ");
        return 0;
    }
    apply_restore_default();
    apply_upgrade_default();
    nvram_zel_set("wifi_present", wifi_init() != 0 ? "0" : "1");
    init_version();

    if (nvram_text("ap_mode").on())
        start_access_point();
    else
        start_router();
    return 0;
}

void init_version() {
    const std::optional<FactoryData> factory = read_factory_data("/dev/mtd0");
    if (!factory) return;

    assign_mac(factory->base_mac);
    if (nvram_text("wsc_device_pin").empty())
        nvram_zel_set("wsc_device_pin", factory->wps_pin.c_str());
    if (File version = open_file("/tmp/version", "w"))
        version.print("%02x%02x", factory->version[0], factory->version[1]);
    if (File pin = open_file("/var/wps_pin", "w"))
        pin.print("%s", nvram_text("wsc_device_pin").text());
}

int wifi_init() {
    return 0;
}
