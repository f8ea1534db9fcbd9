// Static routes. Writes /etc/gateways for the RIP daemon, and /tmp/sroute; runs route.

#include "core/command.h"
#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "core/text.h"
#include "lan/lan.h"
#include "lan/routes.h"

namespace {

std::string route_command(const StaticRoute& route, int add) {
    const std::string network = network_text(route.destination, route.netmask);
    if (add != 1)
        return format("/sbin/route del -net %s netmask %s gw %s metric %d", network.c_str(),
                      route.netmask.c_str(), route.gateway.c_str(), route.metric);
    // A route that is not in use has no command; the empty line is still run.
    if (route.active != 1) return "";
    return format("/sbin/route add -net %s netmask %s gw %s metric %d", network.c_str(),
                  route.netmask.c_str(), route.gateway.c_str(), route.metric);
}

// Adds (1) or deletes (0) the first route of the list. -1 if a file cannot be created.
int handle_static_route(int add) {
    File list = open_file("/tmp/sroute", "w+");
    if (!list) return -1;
    File gateways = open_file("/etc/gateways", "w+");
    if (!gateways) return -1;

    // The value is read as one record, so only its first route has an effect.
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

}  // namespace

int start_static_route() {
    return handle_static_route(1);
}

int stop_static_route() {
    handle_static_route(0);
    return 0;
}
