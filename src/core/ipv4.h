// IPv4 addresses and networks as numbers. The handlers pass addresses on as texts; if they need the
// number, they use scan_address, which also accepts forms that are invalid here.
#ifndef RC_CORE_IPV4_H
#define RC_CORE_IPV4_H

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// 192.168.1.1 is 0xc0a80101.
using Ipv4 = std::uint32_t;

// Four decimal numbers without leading zeros: the programs that rc passes addresses to read numbers
// with a leading zero as octal.
std::optional<Ipv4> parse_quad(std::string_view text);

// As inet_aton(3) reads it, the bits in network byte order; what follows a blank is ignored.
std::optional<in_addr> scan_address(const char* text);

std::string quad_text(Ipv4 address);

// True if the bits are ones followed by zeros.
bool is_mask(Ipv4 mask);

// A network: one of its addresses, and its mask.
struct Net {
    Ipv4 address = 0;
    Ipv4 mask = 0xffffffff;

    Ipv4 first() const { return address & mask; }
    Ipv4 last() const { return address | ~mask; }
    bool holds(Ipv4 other) const { return (other & mask) == first(); }
    // True unless the address is outside, the network's address or its broadcast address.
    bool has_host(Ipv4 other) const { return holds(other) && other != first() && other != last(); }
    // "192.168.1.0/255.255.255.0"
    std::string text() const;
};

// nullopt unless the texts are an address and a mask with at least two host addresses.
std::optional<Net> parse_net(std::string_view address, std::string_view mask);

#endif
