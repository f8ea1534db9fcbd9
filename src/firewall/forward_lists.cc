// Port forwarding: the records of "fw_in_rules" and "fw_out_rules", and the LAN's addresses.

#include "firewall/forward_lists.h"

#include <arpa/inet.h>

#include "core/ipv4.h"
#include "core/text.h"

namespace {

// The maximum length of an address up to its last dot.
constexpr size_t prefix_limit = 12;

// Reads as scanf's "%[^:]:%[^:]:%[^:]:%s" does: an empty field ends it, and the following fields
// stay empty.
Forward parse_forward(std::string_view record, const ForwardStore& store) {
    struct Field {
        std::string Forward::*text;
        size_t width;
    };
    const Field fields[] = {{&Forward::first, store.port_width},
                            {&Forward::second, store.port_width},
                            {&Forward::protocol, store.protocol_width}};
    Forward forward;
    for (const Field& field : fields) {
        const std::string_view text = take_field(record, ':');
        if (text.empty()) return forward;
        forward.*field.text = cut(text, field.width);
    }
    forward.host = cut(record, store.host_width);
    return forward;
}

}  // namespace

std::vector<Forward> parse_forwards(std::string_view list, const ForwardStore& store) {
    std::vector<Forward> forwards;
    while (!list.empty() && forwards.size() < store.capacity) {
        std::string_view record = take_field(list, '\x01');
        take_field(record, ':');  // the name
        if (take_field(record, ':') != "1") continue;
        if (!contains(record, ":")) continue;
        take_field(record, ':');
        forwards.push_back(parse_forward(record, store));
    }
    return forwards;
}

std::string lan_prefix(std::string_view address) {
    const std::string_view start = cut(address, prefix_limit);
    return std::string(start.substr(0, start.rfind('.')));
}

int prefix_length(const char* netmask) {
    const std::optional<in_addr> mask = scan_address(netmask);
    if (!mask) return 0;
    int bits = 0;
    for (uint32_t rest = ntohl(mask->s_addr); rest & 0x80000000u; rest <<= 1) bits++;
    return bits;
}
