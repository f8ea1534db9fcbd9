// The LAN: its addresses, the DHCP server's pool, reservations and options, static routes.
#include "check/check_parts.h"
#include "core/text.h"
#include "core/wan_modes.h"
#include "lan/leases.h"
#include "lan/routes.h"
#include "settings/records.h"

namespace nvram {

namespace {

std::uint32_t number_of(const Octets& octets) {
    std::uint32_t number = 0;
    for (const unsigned char octet : octets) number = number << 8 | octet;
    return number;
}

void check_addresses(Check& check) {
    const std::optional<std::uint32_t> mask = parse_quad(text_of(check, "lan_netmask"));
    const std::optional<Net> lan = lan_of(check);
    if (!lan) {
        if (!mask || !is_mask(*mask) || !parse_quad(text_of(check, "lan_ipaddr"))) return;
        add(check, Level::Error, "lan_netmask",
            {.problem = "leaves no room for hosts",
             .effect = "gives the LAN's interface a network without hosts",
             .fix = "lan_netmask=255.255.255.0"});
        return;
    }
    if (!lan->has_host(lan->address))
        add(check, Level::Error, "lan_ipaddr",
            {.problem = "is the network's or the broadcast address of " + lan->text(),
             .effect = "gives the router an address that no host can have",
             .fix = assignment("lan_ipaddr", quad_text(lan->first() + 1))});
    if (parse_quad(text_of(check, "lan_bipaddr")).value_or(lan->last()) != lan->last())
        add(check, Level::Warning, "lan_bipaddr",
            {.problem = "is not the broadcast address of " + lan->text(),
             .effect = "gives it to ifconfig, and broadcasts to the LAN go to it",
             .fix = assignment("lan_bipaddr", quad_text(lan->last()))});
}

// RFC 1918, and link-local addresses.
bool is_private(std::uint32_t address) {
    return address >> 24 == 10 || address >> 20 == 0xac1 || address >> 16 == 0xc0a8 ||
           address >> 16 == 0xa9fe;
}

void check_place(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    if (lan && !is_private(lan->address) && *unusable_address(lan->address) == '\0')
        add(check, Level::Warning, "lan_ipaddr",
            {.problem = "is a public address, which belongs to a host on the Internet",
             .effect = "gives it to the LAN: the hosts of " + lan->text() +
                       " on the Internet cannot be reached",
             .fix = "lan_ipaddr=192.168.1.1"});
    const std::string_view port = text_of(check, "lan_if");
    for (const char* const key : {"wan_phy_ifname", "wan_ifname"}) {
        if (port.empty() || text_of(check, key) != port) continue;
        add(check, Level::Error, "lan_if",
            {.problem = std::string("is the WAN's interface, ") + key,
             .effect = "gives the LAN's address to the WAN's interface, and lets in what comes from"
                       " there",
             .fix = "lan_if=br0"});
        break;
    }
}

// What an access point reaches over its LAN.
void check_bridge(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    if (!lan || !is_on(check, "ap_mode")) return;
    const std::optional<std::uint32_t> gateway = address_of(check, "ap_gateway");
    if (gateway && *gateway == lan->address)
        add(check, Level::Error, "ap_gateway",
            {.problem = "is the device's own address",
             .effect = "sets itself as the default gateway",
             .fix = "the router's address in " + lan->text()});
    else if (gateway && !lan->has_host(*gateway))
        add(check, Level::Error, "ap_gateway",
            {.problem = "is not a host on the LAN " + lan->text(),
             .effect = "runs /sbin/route add default gw " + quad_text(*gateway) +
                       ", which the kernel rejects",
             .fix = "the router's address in " + lan->text()});
}

// The valid address in the pool's setting, if it is in the LAN.
std::optional<std::uint32_t> pool_end(Check& check, const Net& lan, const char* key,
                                      std::uint32_t better) {
    const std::optional<std::uint32_t> address = parse_quad(text_of(check, key));
    if (!address || lan.has_host(*address)) return address;
    add(check, Level::Error, key,
        {.problem = "is not a host on the LAN " + lan.text(),
         .effect = "gives udhcpd a pool outside the LAN, whose addresses reach no host",
         .fix = assignment(key, quad_text(better))});
    return std::nullopt;
}

void check_pool(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    if (!lan || !is_on(check, "dhcp_server_enable")) return;
    const auto start = pool_end(check, *lan, "dhcp_start_ip", lan->first() + 1);
    const auto end = pool_end(check, *lan, "dhcp_end_ip", lan->last() - 1);
    if (!start || !end) return;
    if (*start > *end) {
        add(check, Level::Error, "dhcp_start_ip",
            {.problem = "is above dhcp_end_ip=" + quad_text(*end),
             .effect = "gives udhcpd a pool without addresses",
             .fix = assignment("dhcp_start_ip", quad_text(*end)) + " " +
                    assignment("dhcp_end_ip", quad_text(*start))});
        return;
    }
    if (*start <= lan->address && lan->address <= *end)
        add(check, Level::Warning, "dhcp_start_ip",
            {.problem =
                 "starts a pool that contains the router's own address, " + quad_text(lan->address),
             .effect = "gives udhcpd the pool unchanged",
             .fix = assignment("dhcp_start_ip", quad_text(lan->address + 1))});
}

// One entry of "pcdb_list" that rc can read; the check of forms finds the others.
void check_reservation(Check& check, const Net& lan, unsigned entry,
                       const Reservation& reservation) {
    const std::uint32_t written = number_of(reservation.address);
    // rc takes the first number from the LAN's address.
    const std::uint32_t entered = (written & 0x00ffffff) | (lan.address & 0xff000000);
    const std::string place = place_text(entry, nullptr) + ": " + quad_text(written);
    const std::string fix = "an address of the pool, from " +
                            escaped(text_of(check, "dhcp_start_ip")) + " to " +
                            escaped(text_of(check, "dhcp_end_ip"));
    if (!lan.has_host(entered)) {
        add(check, Level::Error, "pcdb_list",
            {.problem = place + " is not a host on the LAN " + lan.text(),
             .effect = "reserves " + quad_text(entered) + ", which reaches no host",
             .fix = fix});
    } else if (entered == lan.address) {
        add(check, Level::Error, "pcdb_list",
            {.problem = place + " is the router's own address",
             .effect = "writes a lease of it, which any later reservation ends",
             .fix = fix});
    } else if (entered != written) {
        add(check, Level::Warning, "pcdb_list",
            {.problem = place + " is not a host on the LAN " + lan.text(),
             .effect = "reserves " + quad_text(entered) + " instead",
             .fix = fix});
    }

    const std::optional<std::uint32_t> start = parse_quad(text_of(check, "dhcp_start_ip"));
    const std::optional<std::uint32_t> end = parse_quad(text_of(check, "dhcp_end_ip"));
    const std::uint32_t host = written & 255;
    if (!start || !end || (host >= (*start & 255) && host <= (*end & 255))) return;
    add(check, Level::Error, "pcdb_list",
        {.problem = place + " is outside the pool, by its last number",
         .effect = "leaves the reservation out",
         .fix = fix});
}

void check_reservations(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    const KnownSetting* const known = find_known("pcdb_list");
    if (!lan || known == nullptr || !is_on(check, "dhcp_server_enable")) return;
    unsigned entry = 0;
    for (const std::string_view text : split_records(*known->record, text_of(check, known->key))) {
        ++entry;
        const std::optional<Reservation> reservation = parse_reservation(text);
        if (reservation) check_reservation(check, *lan, entry, *reservation);
    }
}

void check_dhcp_options(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    const bool extended = text_of(check, "dhcp_server_extended_option") == "enable";
    const std::optional<std::uint32_t> router = address_of(check, "dhcp_gateway_ip");
    if (extended && lan && router && !lan->has_host(*router))
        add(check, Level::Error, "dhcp_gateway_ip",
            {.problem = "is not a host on the LAN " + lan->text(),
             .effect = "makes udhcpd hand out a default router that no client reaches",
             .fix = assignment("dhcp_gateway_ip", text_of(check, "lan_ipaddr"))});
    if (extended) return;
    for (const std::string_view key : {"dhcp_gateway_ip", "dhcp_dns_ip"})
        if (address_of(check, key))
            add(check, Level::Note, key,
                {.problem = "takes effect only with dhcp_server_extended_option=enable",
                 .effect = "makes udhcpd hand out lan_ipaddr instead",
                 .fix = "dhcp_server_extended_option=enable"});
}

void check_gateway_of_route(Check& check, const StaticRoute& route) {
    const std::optional<std::uint32_t> gateway = parse_quad(route.gateway);
    const std::optional<Net> lan = lan_of(check);
    if (!gateway || !lan || lan->has_host(*gateway)) return;
    // If the WAN's address is leased, its network is not known here.
    const std::optional<Net> wan =
        parse_net(text_of(check, "fix_ipaddr"), text_of(check, "fix_netmask"));
    const bool wan_known = text_of(check, "wan_mode") == wan_mode::ip && wan;
    if (!wan_known || wan->has_host(*gateway)) return;
    add(check, Level::Error, "rt_static_route",
        {.problem = "entry 1: gateway " + route.gateway + " is in neither the LAN nor the WAN",
         .effect = "runs route, which the kernel rejects: the gateway cannot be reached",
         .fix = "a gateway in " + lan->text()});
}

void check_route(Check& check) {
    const std::string_view list = text_of(check, "rt_static_route");
    const std::optional<StaticRoute> route = parse_route(list);
    if (!route) return;
    if (route->active != 1) {
        add(check, Level::Note, "rt_static_route",
            {.problem = "entry 1 is not active",
             .effect = "runs an empty command on start",
             .fix = "an active flag of 1"});
        return;
    }
    check_gateway_of_route(check, *route);
    const std::string network = network_text(route->destination, route->netmask);
    const std::optional<std::uint32_t> address = parse_quad(network);
    const std::optional<std::uint32_t> mask = parse_quad(route->netmask);
    if (!address || !mask || (*address & ~*mask) == 0) return;
    add(check, Level::Error, "rt_static_route",
        {.problem = "entry 1: destination " + route->destination + " has bits outside netmask " +
                    route->netmask,
         .effect = "runs /sbin/route add -net " + network + " netmask " + route->netmask +
                   ", which the kernel rejects",
         .fix = "destination " + quad_text(*address & *mask)});
}

}  // namespace

void check_lan(Check& check) {
    check_addresses(check);
    check_place(check);
    check_bridge(check);
    check_pool(check);
    check_reservations(check);
    check_dhcp_options(check);
    check_route(check);
}

}  // namespace nvram
