// IPv4 addresses and networks as numbers.
#ifndef RC_CORE_IPV4_H
#define RC_CORE_IPV4_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nvram {

// Four decimal numbers from 0 to 255 separated by dots, without leading zeros, which the programs
// that rc passes addresses to read as octal.
std::optional<std::uint32_t> parse_quad(std::string_view text);

std::string quad_text(std::uint32_t address);

// Whether the bits are ones followed by zeros.
bool is_mask(std::uint32_t mask);

// A network as settings define it: one of its addresses, and its mask.
struct Net {
    std::uint32_t address;
    std::uint32_t mask;

    std::uint32_t first() const { return address & mask; }
    std::uint32_t last() const { return address | ~mask; }
    bool holds(std::uint32_t other) const { return (other & mask) == first(); }
    // An address that a host can have: neither the network's own nor its broadcast address.
    bool has_host(std::uint32_t other) const {
        return holds(other) && other != first() && other != last();
    }
    // "192.168.1.0/255.255.255.0"
    std::string text() const;
};

// nullopt unless the texts are an address and a mask that leaves room for two hosts.
std::optional<Net> parse_net(std::string_view address, std::string_view mask);

}  // namespace nvram

#endif
