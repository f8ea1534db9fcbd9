// Static routes. Writes /etc/gateways for the RIP daemon, and /tmp/sroute; runs route.

#include <arpa/inet.h>

#include <array>

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"
#include "lan/routes.h"

namespace {

constexpr size_t name_limit = 29;

// The four numbers of a dotted quad; what is missing is 0.
std::array<int, 4> quad_of(std::string_view text) {
    std::array<int, 4> quad = {};
    for (int& number : quad) number = leading_int(std::string(take_field(text, '.')).c_str());
    return quad;
}

std::string route_command(const StaticRoute& route, int add) {
    const std::string network = network_text(route.destination, route.netmask);
    if (add != 1)
        return format("/sbin/route del -net %s netmask %s gw %s metric %d", network.c_str(),
                      route.netmask.c_str(), route.gateway.c_str(), route.metric);
    // A route that is not in use has no command, and the empty one is run all the same.
    if (route.active != 1) return "";
    return format("/sbin/route add -net %s netmask %s gw %s metric %d", network.c_str(),
                  route.netmask.c_str(), route.gateway.c_str(), route.metric);
}

}  // namespace

std::optional<StaticRoute> parse_route(std::string_view record) {
    StaticRoute route;
    std::string* const texts[] = {&route.name, &route.destination, &route.netmask, &route.gateway};
    for (std::string* text : texts) {
        if (!contains(record, ":")) return std::nullopt;
        *text = take_field(record, ':');
        if (text->empty()) return std::nullopt;
    }
    route.name = cut(route.name, name_limit);

    const std::string numbers(record);
    const char* rest = numbers.c_str();
    if (!scan_int(rest, ':', route.metric) || !scan_int(rest, ':', route.listed) ||
        !scan_int(rest, '\0', route.active))
        return std::nullopt;
    return route;
}

std::string network_text(std::string_view destination, std::string_view netmask) {
    const std::array<int, 4> d = quad_of(destination);
    const std::array<int, 4> m = quad_of(netmask);
    std::string text(destination);
    int third = m[2];
    int fourth = m[3];
    if (m[1] == 0 && m[2] == 0 && m[3] == 0) {
        text = format("%d.0.0.0", d[0]);
        third = d[2];
        fourth = d[3];
    }
    if (third == 0 && fourth == 0) {
        text = format("%d.%d.0.0", d[0], d[1]);
        fourth = d[3];
    }
    if (fourth == 0) text = format("%d.%d.%d.0", d[0], d[1], d[2]);
    return text;
}

int handle_static_route(int add) {
    File list = open_file("/tmp/sroute", "w+");
    if (!list) return -1;
    File gateways = open_file("/etc/gateways", "w+");
    if (!gateways) return -1;

    // The value is taken as one item, so only its first route counts.
    const Setting routes = nvram_text("rt_static_route");
    if (const std::optional<StaticRoute> route = parse_route(routes.view())) {
        if (add == 1 && route->active == 1)
            gateways.print("host %s netmask %s gateway %s metric %d static\n",
                           route->destination.c_str(), route->netmask.c_str(),
                           route->gateway.c_str(), route->metric);
        if (route->active == 1 && route->listed == 1)
            list.print("%s %s %s\n", route->destination.c_str(), route->netmask.c_str(),
                       route->gateway.c_str());
        const std::string command = route_command(*route, add);
        print("command == %s\n", command.c_str());
        platform::run_shell(command.c_str());
    }
    list.close();
    gateways.close();
    return 0;
}

int start_static_route() {
    return handle_static_route(1);
}

int stop_static_route() {
    handle_static_route(0);
    return 0;
}

int rt_search(StaticRoute& record, std::string_view name) {
    const Setting routes = nvram_text("rt_static_route");
    for (std::string_view rest = routes.view(); !rest.empty();) {
        const std::optional<StaticRoute> route = parse_route(take_field(rest, ' '));
        if (!route || route->name != name) continue;
        record = *route;
        return 0;
    }
    return 1;
}

int rt_active(std::string_view name, int& active) {
    StaticRoute route;
    if (rt_search(route, name) != 0) return 1;
    active = route.active;
    return 0;
}

int rt_listed(std::string_view name, int& listed) {
    StaticRoute route;
    if (rt_search(route, name) != 0) return 1;
    listed = route.listed;
    return 0;
}

int mask_length(const char* netmask) {
    uint32_t rest = inet_network(netmask);
    int length = 0;
    for (; rest != 0 && length < 31; length++) rest <<= 1;
    return rest == 0 ? length : 0;
}
