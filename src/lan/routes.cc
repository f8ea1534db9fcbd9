// Static routes: the records of "rt_static_route".

#include "lan/routes.h"

#include <arpa/inet.h>

#include <array>

#include "core/text.h"

namespace {

constexpr size_t name_limit = 29;

// The four numbers of a dotted quad; missing ones are 0.
std::array<int, 4> quad_of(std::string_view text) {
    std::array<int, 4> quad = {};
    for (int& number : quad) number = leading_int(take_field(text, '.'));
    return quad;
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

    if (!scan_int(record, ':', route.metric) || !scan_int(record, ':', route.listed) ||
        !scan_int(record, '\0', route.active))
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

int mask_length(const char* netmask) {
    uint32_t rest = inet_network(netmask);
    int length = 0;
    for (; rest != 0 && length < 31; length++) rest <<= 1;
    return rest == 0 ? length : 0;
}
