// Port forwarding, single ports and ranges: chains PF, POSTROUTING and FORWARD.

#include "core/nvram.h"
#include "core/text.h"
#include "firewall/firewall.h"
#include "firewall/forward_lists.h"
#include "firewall/rules.h"

namespace {

// PPTP's control connection; its data uses GRE, which needs separate rules.
constexpr int pptp_port = 1723;

// Addresses and interfaces that all forwards share.
struct Network {
    Setting lan_address = nvram_text("lan_ipaddr");
    std::string prefix = lan_prefix(lan_address.view());
    std::string wan_address = address_of(nvram_text("wan_ifname").text());
    int mask_bits = prefix_length(nvram_text("lan_netmask").text());
};

void write_gre(const Network& net, const std::string& host) {
    fw_rule("-t nat -A PF -p gre --dst %s -j DNAT --to-destination %s", net.wan_address.c_str(),
            host.c_str());
    fw_rule("-t nat -A POSTROUTING -p gre --dst %s -j SNAT --to-source %s", host.c_str(),
            net.lan_address.text());
    fw_rule("-A FORWARD -p gre -d %s -j ACCEPT", host.c_str());
}

std::string host_of(const Network& net, const Forward& forward) {
    return net.prefix + "." + forward.host;
}

void write_forward(const Network& net, const Forward& forward) {
    const std::string host = host_of(net, forward);
    const char* protocol = forward.protocol.c_str();
    const char* outside = forward.first.c_str();
    const char* inside = forward.second.c_str();
    fw_rule("-t nat -A PF -p %s --dport %s --dst %s -j DNAT --to-destination %s:%s", protocol,
            outside, net.wan_address.c_str(), host.c_str(), inside);
    // Answers to LAN hosts that use the WAN address must also pass through the router.
    fw_rule("-t nat -A POSTROUTING -p %s -s %s/%d --dst %s --dport %s -j SNAT --to-source %s",
            protocol, net.lan_address.text(), net.mask_bits, host.c_str(), inside,
            net.lan_address.text());
    fw_rule(
        "-A FORWARD -p %s -d %s --dport %s  -j LOG --log-level 4 --log-prefix \"[PORT FORWARD]\"",
        protocol, host.c_str(), inside);
    fw_rule("-A FORWARD -p %s -d %s --dport %s -j ACCEPT", protocol, host.c_str(), inside);
    if (leading_int(outside) == pptp_port) write_gre(net, host);
}

void write_range_of_one(const Network& net, const Forward& forward) {
    const std::string host = host_of(net, forward);
    const char* protocol = forward.protocol.c_str();
    const char* start = forward.first.c_str();
    const char* end = forward.second.c_str();
    fw_rule("-t nat -A PF -p %s --dport %s:%s --dst %s -j DNAT --to-destination %s", protocol,
            start, end, net.wan_address.c_str(), host.c_str());
    fw_rule("-t nat -A POSTROUTING -p %s -s %s/%d --dst %s -j SNAT --to-source %s", protocol,
            net.lan_address.text(), net.mask_bits, host.c_str(), net.lan_address.text());
    fw_rule(
        "-A FORWARD  -p %s -d %s --dport %s:%s -j LOG --log-level 4 --log-prefix"
        " \"[PORT RANGE FORWARD]\"",
        protocol, host.c_str(), start, end);
    fw_rule("-A FORWARD  -p %s -d %s --dport %s:%s -j ACCEPT", protocol, host.c_str(), start, end);
}

void write_range_of_both(const Network& net, const Forward& forward) {
    const std::string host = host_of(net, forward);
    const char* start = forward.first.c_str();
    const char* end = forward.second.c_str();
    for (const char* protocol : {"tcp", "udp"})
        fw_rule("-t nat -A PF -p %s --dport %s:%s --dst %s -j DNAT --to-destination %s", protocol,
                start, end, net.wan_address.c_str(), host.c_str());
    fw_rule("-t nat -A POSTROUTING -p ! icmp -s %s/%d --dst %s -j SNAT --to-source %s",
            net.lan_address.text(), net.mask_bits, host.c_str(), net.lan_address.text());
    for (const char* protocol : {"tcp", "udp"})
        fw_rule(
            "-A FORWARD -p %s -d %s --dport %s:%s -j LOG --log-level 4 --log-prefix"
            " \"[PORT RANGE FORWARD]\"",
            protocol, host.c_str(), start, end);
    for (const char* protocol : {"tcp", "udp"})
        fw_rule("-A FORWARD -p %s -d %s --dport %s:%s -j ACCEPT", protocol, host.c_str(), start,
                end);
}

void write_range(const Network& net, const Forward& forward) {
    const bool both = forward.protocol == "both";
    if (both)
        write_range_of_both(net, forward);
    else
        write_range_of_one(net, forward);
    const bool has_pptp =
        leading_int(forward.first) <= pptp_port && pptp_port <= leading_int(forward.second);
    if (has_pptp && (both || forward.protocol == "tcp")) write_gre(net, host_of(net, forward));
}

}  // namespace

void fw_port_forward() {
    const Network net;
    for (const Forward& forward : parse_forwards(nvram_text("fw_in_rules").view(), in_rules))
        write_forward(net, forward);
}

void fw_port_range_forward() {
    const Network net;
    for (const Forward& forward : parse_forwards(nvram_text("fw_out_rules").view(), out_rules))
        write_range(net, forward);
}
