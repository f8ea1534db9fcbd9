// The router's networks: its own addresses, and the interface that leads to each address.

#include "plan/netfilter/networks.h"

#include <algorithm>

#include "plan/netfilter/packet_values.h"
#include "plan/router/settings.h"

bool Networks::is_own(Ipv4 address) const {
    if (address == limited_broadcast || loopback.holds(address) || multicasts.holds(address))
        return true;
    if (lan && lan->holds(address) && (address | lan->mask) == limited_broadcast) return true;
    return std::ranges::any_of(addresses, [&](const auto& own) { return own.second == address; });
}

bool Networks::is_no_source(Ipv4 source, Ipv4 destination, unsigned protocol) const {
    if (is_own(source)) return true;
    // Hosts without an address may ask everyone, the groups of their link, or about groups.
    if (source != no_address || destination == limited_broadcast) return false;
    constexpr unsigned igmp = 2;
    return !link_multicasts.holds(destination) &&
           !(multicasts.holds(destination) && protocol == igmp);
}

bool Networks::is_no_destination(Ipv4 destination) {
    return loopback.holds(destination) || destination == no_address;
}

const std::string& Networks::interface_to(Ipv4 address) const {
    return lan && lan->holds(address) ? lan_if : wan_if;
}

Networks networks_of(const World& world) {
    const std::string* image = world.get(working_copy);
    Settings settings = read_settings(image ? *image : "");
    Networks found = {.lan_if = settings.contains("lan_if") ? settings["lan_if"] : "br0",
                      .lan = {},
                      .wan_if = settings["wan_ifname"],
                      .addresses = {}};
    // An address stated in the world overrides the one in the settings.
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
