// The router's place in its networks: its own addresses, and which interface leads where.
#ifndef RC_PLAN_NETFILTER_NETWORKS_H
#define RC_PLAN_NETFILTER_NETWORKS_H

#include <map>
#include <optional>
#include <string>

#include "core/ipv4.h"
#include "plan/router/world.h"

inline constexpr Ipv4 limited_broadcast = 0xffffffff;
inline constexpr Net multicasts = {.address = 0xe0000000, .mask = 0xf0000000};

// The router's place in its networks.
struct Networks {
    std::string lan_if = {};
    std::optional<Net> lan = {};
    std::string wan_if = {};
    // The router's own addresses by interface.
    std::map<std::string, Ipv4> addresses = {};

    // Addresses that the router takes for itself: its own, loopback, broadcasts.
    bool is_own(Ipv4 address) const;
    // The interface that leads there.
    const std::string& way_to(Ipv4 address) const;
};

// As the settings of the working copy and the stated interfaces say.
Networks networks_of(const World& world);

#endif
