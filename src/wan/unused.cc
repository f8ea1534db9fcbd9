// Nothing in rc calls these.

#include "wan/unused.h"

#include <stdio.h>

#include <array>

#include "core/platform.h"

int wan_wait_up(unsigned seconds) {
    if (seconds > 0) platform::sleep_seconds(seconds);
    return platform::file_exists("/tmp/wan_uptime") ? 0 : -1;
}

int get_ifmac(char (&out)[18], const char* ifname) {
    std::array<unsigned char, 6> mac = {};
    switch (platform::interface_mac(ifname, mac)) {
        case platform::InterfaceQuery::NoSocket:
            platform::print_error("user: socket creating failed");
            return -1;
        case platform::InterfaceQuery::NotThere:
            return 1;
        case platform::InterfaceQuery::Found:
            break;
    }
    snprintf(out, sizeof out, "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3],
             mac[4], mac[5]);
    return 1;
}
