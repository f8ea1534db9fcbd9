// The router's place in its networks: its own addresses, and which way leads where.

#include "plan/netfilter/networks.h"

#include <algorithm>

#include "plan/netfilter/packet_values.h"
#include "plan/router/settings.h"

namespace {

constexpr Net loopback = {.address = 0x7f000000, .mask = 0xff000000};

}  // namespace

bool Networks::is_own(Ipv4 address) const {
    if (address == limited_broadcast || loopback.holds(address) || multicasts.holds(address))
        return true;
    if (lan && lan->holds(address) && (address | lan->mask) == limited_broadcast) return true;
    return std::ranges::any_of(addresses, [&](const auto& own) { return own.second == address; });
}

const std::string& Networks::way_to(Ipv4 address) const {
    return lan && lan->holds(address) ? lan_if : wan_if;
}

Networks networks_of(const World& world) {
    const std::string* image = world.get(working_copy);
    Settings settings = read_settings(image ? *image : "");
    Networks found = {.lan_if = settings.contains("lan_if") ? settings["lan_if"] : "br0",
                      .lan = {},
                      .wan_if = settings["wan_ifname"],
                      .addresses = {}};
    // What an interface is stated to have counts more than what it would be given.
    if (const auto address = read_address(settings["lan_ipaddr"]))
        found.addresses[found.lan_if] = *address;
    for (const auto& [name, interface] : world.interfaces)
        if (const auto address = read_address(interface.address.value_or("")))
            found.addresses[name] = *address;
    const auto lan = found.addresses.find(found.lan_if);
    const std::optional<Ipv4> mask = read_address(settings["lan_netmask"]);
    if (lan != found.addresses.end() && mask)
        found.lan = Net{.address = lan->second, .mask = *mask};
    return found;
}
