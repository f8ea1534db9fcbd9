// The router's networks: its own addresses, and the interface that leads to each address.
#ifndef RC_PLAN_NETFILTER_NETWORKS_H
#define RC_PLAN_NETFILTER_NETWORKS_H

#include <map>
#include <optional>
#include <string>

#include "core/ipv4.h"
#include "plan/router/world.h"

inline constexpr Ipv4 limited_broadcast = 0xffffffff;
inline constexpr Net loopback = {.address = 0x7f000000, .mask = 0xff000000};
// The source of hosts that have no address yet.
inline constexpr Ipv4 no_address = 0;
inline constexpr Net multicasts = {.address = 0xe0000000, .mask = 0xf0000000};
inline constexpr Net link_multicasts = {.address = 0xe0000000, .mask = 0xffffff00};

struct Networks {
    std::string lan_if = {};
    std::optional<Net> lan = {};
    std::string wan_if = {};
    // The router's own addresses by interface.
    std::map<std::string, Ipv4> addresses = {};

    // Addresses that the router delivers to itself: its own, loopback, broadcasts.
    bool is_own(Ipv4 address) const;
    // Addresses that the kernel's routing does not accept in a packet from a link. From no address
    // to no address it accepts both.
    bool is_no_source(Ipv4 source, Ipv4 destination, unsigned protocol) const;
    static bool is_no_destination(Ipv4 destination);
    // The interface that leads to an address.
    const std::string& interface_to(Ipv4 address) const;
};

// From the settings in the working copy and the world's interfaces.
Networks networks_of(const World& world);

#endif
