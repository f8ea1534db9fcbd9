// Interfaces, bridges, routes and the Internet side.

#include <algorithm>
#include <map>
#include <set>

#include "core/text.h"
#include "plan/inspect/inspect.h"
#include "plan/netfilter/packet_values.h"

namespace {

struct ExpectedInterface {
    const Step* step = nullptr;
    std::optional<bool> up;
    std::optional<std::string> address;
    std::optional<std::string> mask;
    std::optional<int> mtu;
};

// ifconfig IF [ADDRESS] [netmask M] [mtu N] [hw ether MAC] [up|down]
void follow_ifconfig(const StepCommand& command,
                     std::map<std::string, ExpectedInterface>& interfaces) {
    const std::vector<std::string>& words = command.words();
    if (words.size() < 3) return;
    ExpectedInterface& interface = interfaces[words[1]];
    interface.step = command.step;
    for (size_t i = 2; i < words.size(); i++) {
        const bool more = i + 1 < words.size();
        if (words[i] == "up" || words[i] == "down") {
            interface.up = words[i] == "up";
        } else if (words[i] == "netmask" && more) {
            interface.mask = words[++i];
        } else if (words[i] == "mtu" && more) {
            interface.mtu = static_cast<int>(scan_number(words[++i].c_str()).value_or(0));
        } else if ((words[i] == "hw" || words[i] == "broadcast") && more) {
            i += words[i] == "hw" ? size_t{2} : size_t{1};
        } else if (read_address(words[i])) {
            interface.up = true;
            interface.address = words[i];
        }
    }
}

struct ExpectedRoute {
    const Step* step = nullptr;
    std::string destination = {};
    std::string gateway = {};
    std::string mask = "255.255.255.255";
    std::string interface = {};

    bool leads_like(const FoundRoute& route) const {
        return route.destination == destination && route.mask == mask &&
               (gateway.empty() || gateway == route.gateway) &&
               (interface.empty() || interface == route.interface);
    }
    bool is_default() const { return destination == "0.0.0.0" && mask == "0.0.0.0"; }
    std::string text() const {
        return destination + " netmask " + mask + (gateway.empty() ? "" : " gateway " + gateway) +
               (interface.empty() ? "" : " on " + interface);
    }
};

// route add|del [-net|-host] D [netmask M] [gw|gateway G] [metric N] [[dev] IF]
std::optional<ExpectedRoute> read_route(const StepCommand& command) {
    const std::vector<std::string>& words = command.words();
    ExpectedRoute route = {.step = command.step};
    for (size_t i = 2; i < words.size(); i++) {
        const bool more = i + 1 < words.size();
        if (words[i] == "-net" || words[i] == "-host" || words[i] == "&") continue;
        if (words[i] == "netmask" && more)
            route.mask = words[++i];
        else if ((words[i] == "gw" || words[i] == "gateway") && more)
            route.gateway = words[++i];
        else if (words[i] == "metric" && more)
            ++i;
        else if (words[i] == "dev" && more)
            route.interface = words[++i];
        else if (words[i] == "default")
            route.destination = route.mask = "0.0.0.0";
        else if (route.destination.empty())
            route.destination = words[i];
        else
            route.interface = words[i];
    }
    if (!read_address(route.destination)) return std::nullopt;
    return route;
}

void follow_route(const StepCommand& command, std::vector<ExpectedRoute>& routes) {
    const std::optional<ExpectedRoute> route = read_route(command);
    if (!route) return;
    std::erase_if(routes, [&](const ExpectedRoute& other) {
        return other.destination == route->destination && other.mask == route->mask;
    });
    if (command.words()[1] == "add") routes.push_back(*route);
}

void put(Deviations& list, Deviation::Kind kind, const std::string& what,
         const std::string& expected, const std::string& found, const Step* step) {
    list.push_back({.kind = kind,
                    .what = what,
                    .expected = expected,
                    .found = found,
                    .fix = step ? step->again() : "rc wan restart"});
}

void compare_interface(const std::string& name, const ExpectedInterface& expected,
                       const FoundInterface* found, Deviations& list) {
    const auto differs = [&](const std::string& wanted, const std::string& is) {
        put(list, Deviation::Kind::Interface, name, wanted, is, expected.step);
    };
    if (!found) return differs("an interface", "");
    if (expected.up && *expected.up != found->up)
        return differs(*expected.up ? "up" : "down", found->up ? "up" : "down");
    // 0.0.0.0 takes the address away.
    if (expected.address && *expected.address != "0.0.0.0" && found->address != expected.address)
        differs("address " + *expected.address,
                found->address ? "address " + *found->address : "no address");
    else if (expected.mask && found->address && found->mask != *expected.mask)
        differs("netmask " + *expected.mask, "netmask " + found->mask);
    if (expected.mtu && *expected.mtu > 0 && found->mtu != *expected.mtu)
        differs("MTU " + std::to_string(*expected.mtu), "MTU " + std::to_string(found->mtu));
}

std::string setting(const FoundRouter& found, const std::string& key) {
    const auto value = found.settings.find(key);
    return value == found.settings.end() ? "" : value->second;
}

// How far the Internet side's start has got. A default route that rc itself sets is compared with
// the others.
void inspect_wan(const FoundRouter& found, bool sets_default_route, Deviations& list) {
    const std::string name = found.wan_interface();
    const auto step = [&](const std::string& wanted, const std::string& is) {
        put(list, Deviation::Kind::Wan, "wan (" + setting(found, "wan_mode") + ")", wanted, is,
            nullptr);
    };
    if (found.lacks_wan_address())
        return step(name + " with an address",
                    "the link is not up: " + name + " has no address yet");
    if (!found.has_file("/tmp/wan_uptime"))
        return step("/tmp/wan_uptime, which says that the link is up",
                    "the link's script has not come to its end: no /tmp/wan_uptime");
    const bool has_default = std::ranges::any_of(found.routes, [](const FoundRoute& route) {
        return route.destination == "0.0.0.0" && route.mask == "0.0.0.0";
    });
    if (!sets_default_route && !found.routes.empty() && !has_default)
        step("a default route", "none");
    const auto servers = found.files.find("/etc/resolv.conf");
    if (servers == found.files.end() || servers->second.find("nameserver") == std::string::npos)
        step("name servers in /etc/resolv.conf", "none");
}

}  // namespace

void inspect_links(const FoundRouter& found, const ExpectedRouter& expected, Deviations& list) {
    std::map<std::string, ExpectedInterface> interfaces;
    std::vector<ExpectedRoute> routes;
    std::map<std::string, std::pair<std::string, const Step*>> bridge_of;
    for (const StepCommand& command : expected.commands()) {
        const std::vector<std::string>& words = command.words();
        if (command.runs("ifconfig")) {
            follow_ifconfig(command, interfaces);
        } else if (command.runs("route") && words.size() > 2 &&
                   (words[1] == "add" || words[1] == "del")) {
            follow_route(command, routes);
        } else if (command.runs("brctl") && words.size() == 4) {
            if (words[1] == "addif") bridge_of[words[3]] = {words[2], command.step};
            if (words[1] == "delif") bridge_of.erase(words[3]);
        }
    }
    const bool sets_default_route =
        std::ranges::any_of(routes, [](const ExpectedRoute& route) { return route.is_default(); });
    if (!found.is_access_point()) inspect_wan(found, sets_default_route, list);
    if (!found.interfaces.empty())
        for (const auto& [name, interface] : interfaces) {
            const auto there = found.interfaces.find(name);
            compare_interface(name, interface,
                              there == found.interfaces.end() ? nullptr : &there->second, list);
        }
    if (!found.bridges.empty())
        for (const auto& [name, bridge] : bridge_of) {
            const auto there = found.bridges.find(bridge.first);
            if (there == found.bridges.end() || !there->second.contains(name))
                put(list, Deviation::Kind::Interface, name, "in bridge " + bridge.first,
                    "not in it", bridge.second);
        }
    if (!found.routes.empty())
        for (const ExpectedRoute& route : routes)
            if (std::ranges::none_of(
                    found.routes, [&](const FoundRoute& other) { return route.leads_like(other); }))
                put(list, Deviation::Kind::Route, route.destination, route.text(), "", route.step);
}
