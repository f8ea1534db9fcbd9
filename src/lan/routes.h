// Static routes: the records of "rt_static_route".
#ifndef RC_LAN_ROUTES_H
#define RC_LAN_ROUTES_H

#include <optional>
#include <string>
#include <string_view>

struct StaticRoute {
    std::string name;
    std::string destination;
    std::string netmask;
    std::string gateway;
    int metric = 0;
    int listed = 0;  // 1: the route is written to /tmp/sroute
    int active = 0;  // 1: the route is in use
};

// Reads name:destination:netmask:gateway:metric:listed:active; more may follow. nullopt if a field
// is missing.
std::optional<StaticRoute> parse_route(std::string_view record);

// The network address for route(8), from a destination and its mask: octets that are zero in the
// mask become zero, but a destination that ends in zero keeps the octets before it.
std::string network_text(std::string_view destination, std::string_view netmask);

#endif
