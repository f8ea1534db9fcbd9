// The MAC address of the physical WAN port. Reads /proc/mac; runs ifconfig.

#include "core/command.h"
#include "core/file.h"
#include "core/limits.h"
#include "core/text.h"
#include "wan/wan.h"

namespace {

constexpr const char* built_in_mac = "02:4b:7a:19:e3:58";

// The user's address, else the default one, else the factory's.
std::string choose_mac() {
    for (const char* key : {"wan_macaddr", "wan_macaddr_default"}) {
        const Setting chosen = nvram_text(key);
        if (!chosen.empty()) return std::string(cut(chosen.view(), limits::mac_length));
    }
    File factory = open_file("/proc/mac", "r");
    if (!factory) return built_in_mac;

    unsigned char block[limits::mac_length + 1] = {};
    factory.read(block);
    block[limits::mac_length] = '\0';
    return reinterpret_cast<const char*>(block);
}

}  // namespace

void mac_spoofing() {
    // A wireless ISP is reached over the radio; the Ethernet port keeps its address.
    if (nvram_text("wan_line").is("wisp")) return;

    const std::string mac = choose_mac();
    const Setting port = wan_port();
    SYSTEM("/sbin/ifconfig %s down", port.text());
    SYSTEM("/sbin/ifconfig %s hw ether %s ", port.text(), mac.c_str());
    SYSTEM("/sbin/ifconfig %s up", port.text());
}
