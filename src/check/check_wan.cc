// The WAN: fixed addresses, MTU, demand dialling, accounts and WAN services.
#include "check/check_parts.h"
#include "core/wan_modes.h"
#include "libnvram/secret.h"

namespace nvram {

namespace {

// A port whose address is fixed.
struct FixedPort {
    const char* mode;
    const char* switch_key;  // "1" is fixed; nullptr if always fixed
    const char* address;
    const char* netmask;
    const char* gateway;  // nullptr if the mode has no gateway
};
constexpr FixedPort fixed_ports[] = {
    {wan_mode::ip, nullptr, "fix_ipaddr", "fix_netmask", "fix_gateway"},
    {wan_mode::pptp, "pptp_type", "pptp_ipaddr", "pptp_fix_netmask", "pptp_fix_gateway"},
    {wan_mode::l2tp, "l2tp_type", "l2tp_ipaddr", "l2tp_netmask", nullptr},
};

void check_gateway(Check& check, const FixedPort& port, const Net& net) {
    if (port.gateway == nullptr) return;
    const std::optional<std::uint32_t> gateway = address_of(check, port.gateway);
    if (!gateway) return;
    if (*gateway == net.address) {
        add(check, Level::Error, port.gateway,
            {.problem = std::string("is the port's own address, ") + port.address,
             .effect = "sends all outgoing traffic to the router itself",
             .fix = "the provider's gateway in " + net.text()});
        return;
    }
    if (net.has_host(*gateway)) return;
    add(check, Level::Error, port.gateway,
        {.problem = "is not a host in " + net.text() + ", the network of " + port.address,
         .effect = "runs /sbin/route add default gw " + quad_text(*gateway) +
                   ", which the kernel rejects: there is no default route",
         .fix = "the provider's gateway in " + net.text()});
}

void check_fixed_port(Check& check, const FixedPort& port) {
    if (text_of(check, "wan_mode") != port.mode) return;
    if (port.switch_key != nullptr && !is_on(check, port.switch_key)) return;
    const std::optional<std::uint32_t> mask = parse_quad(text_of(check, port.netmask));
    if (!address_of(check, port.address) || !mask || !is_mask(*mask)) return;
    const std::optional<Net> net =
        parse_net(text_of(check, port.address), text_of(check, port.netmask));
    if (!net) {
        add(check, Level::Error, port.netmask,
            {.problem = "leaves no room for a gateway",
             .effect = "gives the port a network without other hosts",
             .fix = assignment(port.netmask, "255.255.255.0")});
        return;
    }
    if (!net->has_host(net->address))
        add(check, Level::Error, port.address,
            {.problem = "is the network's or the broadcast address of " + net->text(),
             .effect = "gives the port an address that no host can have",
             .fix = "the address that the provider assigned"});
    const std::optional<Net> lan = lan_of(check);
    if (lan && (lan->holds(net->first()) || net->holds(lan->first())))
        add(check, Level::Error, port.address,
            {.problem = "is in a network that overlaps the LAN " + lan->text(),
             .effect =
                 "gives both sides addresses in one network, and the kernel reaches only one side",
             .fix = "another network for the LAN"});
    check_gateway(check, port, *net);
}

struct LinkMtu {
    const char* mode;
    int most;
};
constexpr LinkMtu link_mtus[] = {{wan_mode::pppoe, wan_mode::pppoe_mtu},
                                 {wan_mode::pptp, wan_mode::pptp_mtu},
                                 {wan_mode::l2tp, wan_mode::l2tp_mtu}};

// 1500 is every link's default, and each then takes its own.
void check_mtu(Check& check) {
    const int mtu = number_of(check, "wan_mtu");
    for (const LinkMtu& link : link_mtus) {
        if (text_of(check, "wan_mode") != link.mode || mtu <= link.most || mtu == 1500) continue;
        add(check, Level::Warning, "wan_mtu",
            {.problem = std::string("is more than ") + link.mode + " carries, " +
                        std::to_string(link.most),
             .effect = "passes it to pppd, and the largest packets are lost",
             .fix = assignment("wan_mtu", std::to_string(link.most))});
    }
}

struct Demand {
    const char* mode;
    const char* dial;
    const char* idle;
};
constexpr Demand demands[] = {
    {wan_mode::pppoe, "wan_dod", "pppoe_idle"},
    {wan_mode::pptp, "pptp_dod", "pptp_idle"},
    {wan_mode::l2tp, "l2tp_dod", "l2tp_idle"},
};

void check_demand(Check& check) {
    for (const Demand& demand : demands) {
        if (text_of(check, "wan_mode") != demand.mode || !is_on(check, demand.dial)) continue;
        if (number_of(check, demand.idle) != 0) continue;
        add(check, Level::Warning, demand.idle,
            {.problem = std::string("is not a time, but ") + demand.dial + "=1 dials on demand",
             .effect = "passes pppd neither the idle time nor the word demand: the link stays up",
             .fix = assignment(demand.idle, "5")});
    }
}

void check_name_servers(Check& check) {
    if (text_of(check, "wan_mode") != wan_mode::ip || is_on(check, "wan_fix_dns")) return;
    if (!is_missing(check, "wan_dns1") || !is_missing(check, "wan_dns2")) return;
    add(check, Level::Warning, "wan_dns1",
        {.problem = "is empty, as is wan_dns2, and wan_mode=ip gets no other name server",
         .effect = "leaves /etc/resolv.conf without a name server",
         .fix = "wan_dns1=203.0.113.53"});
}

bool is_station(const Check& check) {
    return is_on(check, "wifi_ap_mode") && begins_with(check, "ap_mode", '0');
}

void check_wireless_wan(Check& check) {
    if (text_of(check, "wan_line") == "wisp" && !is_station(check))
        add(check, Level::Warning, "wan_line",
            {.problem = "runs the WAN over the radio, which is not a station",
             .effect = "loads the access point's driver, and the WAN has no link",
             .fix = "wifi_ap_mode=1 ap_mode=0"});
    if (is_on(check, "wifi_ap_mode") && !is_station(check))
        add(check, Level::Warning, "wifi_ap_mode",
            {.problem = "makes the radio a station only with ap_mode=0",
             .effect = "starts the access point",
             .fix = "ap_mode=0"});
}

// The secrets files and l2tpd's file get accounts escaped as for a shell, which reads neither.
void check_l2tp_account(Check& check, const char* key) {
    const std::string_view text = text_of(check, key);
    if (text_of(check, "wan_mode") != wan_mode::l2tp) return;
    const std::string changed = std::string(escaped_characters(Escapes::Account)) + "%";
    const bool secret = is_secret(key);
    if (text.find_first_of(changed) != text.npos)
        add(check, Level::Error, key,
            {.problem = secret ? "contains a character that does not reach l2tpd and pppd as it is"
                               : "contains one of " + changed +
                                     ", which do not reach l2tpd and pppd as they are",
             .effect = "writes a backslash before it, or % twice, into files that no shell reads:"
                       " the login fails",
             .fix = secret ? "only letters and digits" : "a name of letters and digits"});
    if (text.find(' ') == text.npos) return;
    add(check, Level::Error, key,
        {.problem = secret ? "contains a character that ends it in the secrets files"
                           : "contains a space, which ends it in the secrets files",
         .effect = "writes it unquoted there: the login fails",
         .fix = secret ? "only letters and digits" : "a name without spaces"});
}

// A host that the router reaches over the WAN.
struct FarHost {
    const char* mode;        // of wan_mode; nullptr for any
    const char* switch_key;  // must be on; nullptr if always
    const char* key;
};
constexpr FarHost far_hosts[] = {
    {wan_mode::ip, nullptr, "wan_dns1"},        {wan_mode::ip, nullptr, "wan_dns2"},
    {nullptr, "wan_fix_dns", "wan_dns1"},       {nullptr, "wan_fix_dns", "wan_dns2"},
    {nullptr, "wan_fix_dns", "wan_dns3"},       {wan_mode::pptp, "pptp_type", "pptp_wan_dns1"},
    {wan_mode::pptp, nullptr, "pptp_server"},   {wan_mode::l2tp, nullptr, "l2tp_server"},
    {nullptr, "fw_remote", "fw_remote_single"},
};

void check_far_hosts(Check& check) {
    const std::optional<Net> lan = lan_of(check);
    if (!lan || is_on(check, "ap_mode")) return;
    for (const FarHost& host : far_hosts) {
        if (host.mode != nullptr && text_of(check, "wan_mode") != host.mode) continue;
        if (host.switch_key != nullptr && !is_on(check, host.switch_key)) continue;
        const std::optional<std::uint32_t> address = address_of(check, host.key);
        if (!address || !lan->holds(*address)) continue;
        const bool own = *address == lan->address;
        // Two ways to use a name server are one mistake.
        bool known = false;
        for (const Finding& finding : check.findings)
            known = known || (finding.key == host.key && finding.level == Level::Error);
        if (known) continue;
        add(check, Level::Error, host.key,
            {.problem = own ? "is the router's own address" : "is in the LAN " + lan->text(),
             .effect = "uses it as a host on the WAN's side",
             .fix = "an address outside the LAN"});
    }
}

void check_multicast(Check& check) {
    const std::string_view port = text_of(check, "igmp_port");
    if (!is_on(check, "igmp_enable") || port.empty() || port[0] == '0') return;
    const std::string key = std::string("wan_ifname") + port[0];
    if (!text_of(check, key).empty()) return;
    add(check, Level::Error, "igmp_port",
        {.problem = "names a connection without an interface: " + key + " is empty",
         .effect = "starts no proxy, or one without an interface",
         .fix = "igmp_port=0"});
}

void check_ddns_name(Check& check) {
    if (text_of(check, "ddns_user_name").find(':') == std::string_view::npos) return;
    add(check, Level::Error, "ddns_user_name",
        {.problem = "contains a colon",
         .effect = "passes name:password as one word, and the client ends the name at the colon",
         .fix = "a name without a colon"});
}

}  // namespace

void check_wan(Check& check) {
    for (const FixedPort& port : fixed_ports) check_fixed_port(check, port);
    check_mtu(check);
    check_demand(check);
    check_name_servers(check);
    check_far_hosts(check);
    check_wireless_wan(check);
    check_l2tp_account(check, "l2tp_username");
    check_l2tp_account(check, "l2tp_password");
    check_multicast(check);
    check_ddns_name(check);
}

}  // namespace nvram
