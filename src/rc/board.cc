// Board functions that nothing in rc calls. Writes /proc/ticfg/env and registers through
// /dev/flash0.

#include <linux/mii.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include "core/command.h"
#include "core/file.h"
#include "core/platform.h"
#include "rc/boot.h"

int set_boot_environment(const char* name, const char* value) {
    File environment = open_file("/proc/ticfg/env", "r+");
    if (!environment) return 1;

    unsigned char buffer[1024 + 1] = {};
    environment.read(std::span(buffer).first(1024));
    const char* found = strstr(reinterpret_cast<const char*>(buffer), name);
    char current[sizeof buffer] = "";
    static_assert(sizeof current > 1024);
    if (found && sscanf(found, "%*s %1024s", current) == 1 && strcasecmp(current, value) == 0)
        return 0;

    environment.seek(0);
    environment.print("%s %s\n", name, value);
    return 0;
}

namespace {

struct SwitchRegister {
    unsigned short phy;
    unsigned short number;
    unsigned short value;
};

// The order matters: address 29 selects the register that address 30 then changes.
constexpr SwitchRegister switch_registers[] = {
    {29, 23, 0}, {29, 22, 1056}, {29, 24, 1},   {29, 25, 1},    {29, 26, 1},
    {29, 27, 1}, {29, 28, 2},    {30, 9, 4097}, {30, 1, 12095}, {30, 2, 16176},
};

// The management device's request "write a PHY register".
constexpr unsigned long write_register = 5;

}  // namespace

int set_up_switch() {
    const int device = platform::open_device("/dev/flash0");
    if (device < 0) {
        print_line("rc.c: unabled to open mii_mgr pseudo device");
        return -1;
    }
    for (const SwitchRegister& setting : switch_registers) {
        const mii_ioctl_data request = {.phy_id = setting.phy,
                                        .reg_num = setting.number,
                                        .val_in = setting.value,
                                        .val_out = 0};
        if (platform::device_request(device, write_register, &request, sizeof request) < 0) {
            platform::print_error("ioctl");
            platform::close_device(device);
            return -1;
        }
    }
    platform::close_device(device);
    return 0;
}

int board_hook() {
    return 0;
}
