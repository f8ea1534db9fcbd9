// Port forwarding: the settings' records and their destinations.
#ifndef RC_FIREWALL_FORWARD_LISTS_H
#define RC_FIREWALL_FORWARD_LISTS_H

#include <string>
#include <string_view>
#include <vector>

#include "core/limits.h"

// One forward. The texts are copied into the rules unchanged.
struct Forward {
    std::string first;   // outside port, or first port of a range
    std::string second;  // inside port, or last port of a range
    std::string protocol;
    std::string host;  // last octet of the LAN host
};

// A kind of forward: the maximum number of records, and the widths of their fields.
struct ForwardStore {
    size_t capacity;
    size_t port_width;
    size_t protocol_width;
    size_t host_width;
};
constexpr ForwardStore in_rules = {
    .capacity = limits::single_forwards, .port_width = 5, .protocol_width = 3, .host_width = 3};
constexpr ForwardStore out_rules = {
    .capacity = limits::range_forwards, .port_width = 5, .protocol_width = 4, .host_width = 3};

// The enabled records, each name:1:third:first:second:protocol:host. A record without a third ":"
// is ignored; other missing fields are empty.
std::vector<Forward> parse_forwards(std::string_view list, const ForwardStore& store);

// The first three octets of an address; the whole text if it has no dot.
std::string lan_prefix(std::string_view address);

// The number of leading one bits of a netmask.
int prefix_length(const char* netmask);

#endif
