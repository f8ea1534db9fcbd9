// The router's networks: its own addresses, and the interface that leads to each address.
#ifndef RC_PLAN_NETFILTER_NETWORKS_H
#define RC_PLAN_NETFILTER_NETWORKS_H

#include <map>
#include <optional>
#include <string>

#include "plan/netfilter/packet_values.h"
#include "plan/router/world.h"

struct Networks {
    std::string lan_if = {};
    std::optional<Network> lan = {};
    std::string wan_if = {};
    // The router's own addresses by interface.
    std::map<std::string, Ipv4> addresses = {};

    // Addresses that the router delivers to itself: its own, loopback, broadcasts.
    bool is_own(Ipv4 address) const;
    // The interface that leads to an address.
    const std::string& interface_to(Ipv4 address) const;
};

// From the settings in the working copy and the world's interfaces.
Networks networks_of(const World& world);

#endif
