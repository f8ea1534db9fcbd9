// IPv4 addresses and networks as numbers.
#include "core/ipv4.h"

#include <arpa/inet.h>
#include <string.h>

static std::optional<std::uint32_t> parse_octet(std::string_view text) {
    const bool leading_zero = text.size() > 1 && text[0] == '0';
    if (text.empty() || text.size() > 3 || leading_zero) return std::nullopt;
    std::uint32_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        number = number * 10 + static_cast<std::uint32_t>(c - '0');
    }
    if (number > 255) return std::nullopt;
    return number;
}

std::optional<Ipv4> parse_quad(std::string_view text) {
    return parse_quad_of(text, parse_octet);
}

std::optional<in_addr> scan_address(const char* text) {
    // glibc's inet_aton ends at a blank, others refuse it.
    const std::string first(text, strcspn(text, " \t\n\v\f\r"));
    in_addr address = {};
    if (inet_aton(first.c_str(), &address) == 0) return std::nullopt;
    return address;
}

std::string quad_text(Ipv4 address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift < 24) text += '.';
        text += std::to_string(address >> shift & 255);
    }
    return text;
}

bool is_mask(Ipv4 mask) {
    const Ipv4 zeros = ~mask;
    return (zeros & (zeros + 1)) == 0;
}

std::string Net::text() const {
    return quad_text(first()) + "/" + quad_text(mask);
}

std::optional<Net> parse_net(std::string_view address, std::string_view mask) {
    const std::optional<Ipv4> a = parse_quad(address);
    const std::optional<Ipv4> m = parse_quad(mask);
    if (!a || !m || *m == 0 || *m > 0xfffffffc || !is_mask(*m)) return std::nullopt;
    return Net{.address = *a, .mask = *m};
}
