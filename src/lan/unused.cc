// Nothing in rc calls these.

#include "lan/unused.h"

#include <arpa/inet.h>

#include "core/nvram.h"
#include "core/text.h"

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
