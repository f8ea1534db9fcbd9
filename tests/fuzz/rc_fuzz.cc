// Every action of rc from arbitrary settings and files, over the recording platform.

#include <fuzzer/FuzzedDataProvider.h>

#include "plan/recording.h"
#include "plan/settings.h"

namespace {

struct Action {
    const char* name;
    const char* action;
};

constexpr Action actions[] = {
    {"init", nullptr},   {"lan", "start"},   {"httpd", "start"},     {"dhcpd", "restart"},
    {"dhcpd", "create"}, {"start", nullptr}, {"service", "restart"}, {"wan", nullptr},
};

constexpr const char* keys[] = {
    "ap_dns",        "ap_gateway",      "ap_mode",         "device_name",
    "dhcp_dns_ip",   "dhcp_end_ip",     "dhcp_gateway_ip", "dhcp_server_enable",
    "dhcp_start_ip", "fw_services_def", "http_password",   "http_realm",
    "http_timeout",  "http_username",   "lan_assign_mac",  "lan_bipaddr",
    "lan_if",        "lan_ipaddr",      "lan_lease_time",  "lan_netmask",
    "pcdb_list",     "restore_default", "upgrade_default", "wan_domain",
    "wan_line",      "wan_mode",        "wsc_device_pin",  "dhcp_server_extended_option",
};

constexpr const char* files[] = {
    "/dev/mtd0",          "/etc/resolv.conf",      "/etc/version-ft",
    "/var/udhcpd.leases", "/var/run/rc.dhcpd.run", "/var/run/my_pid_service",
    "/proc/uptime",
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    Recording played;
    const Action action = input.PickValueInArray(actions);
    std::vector<std::string> words = {"rc", action.name};
    if (action.action) words.emplace_back(action.action);

    Settings settings;
    while (input.remaining_bytes() > 0 && input.ConsumeBool()) {
        std::string value = input.ConsumeRandomLengthString(6000);
        if (input.ConsumeBool()) {
            // No value holds a zero byte.
            std::erase(value, '\0');
            settings[input.PickValueInArray(keys)] = value;
        } else {
            played.world.put(input.PickValueInArray(files), value);
        }
    }
    // Factory data lie deep in the partition; a flash of random length would hardly ever reach
    // them.
    if (const std::string* flash = played.world.get("/dev/mtd0"))
        played.world.put("/dev/mtd0", std::string(0x2FF70, '\0') + *flash);
    played.world.put(factory_image, settings_image(settings));
    played.world.put(working_copy, settings_image(settings));
    play(played, words);
    return 0;
}
