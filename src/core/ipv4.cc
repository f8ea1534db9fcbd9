// IPv4 addresses and networks as numbers.
#include "core/ipv4.h"

#include <arpa/inet.h>
#include <string.h>

std::optional<Ipv4> parse_quad(std::string_view text) {
    Ipv4 address = 0;
    std::uint32_t number = 0;
    int dots = 0;
    bool begun = false;
    for (const char c : text) {
        if (c == '.') {
            if (!begun || ++dots > 3) return std::nullopt;
            address = address << 8 | number;
            number = 0;
            begun = false;
            continue;
        }
        if (c < '0' || c > '9' || (begun && number == 0)) return std::nullopt;
        number = number * 10 + static_cast<std::uint32_t>(c - '0');
        if (number > 255) return std::nullopt;
        begun = true;
    }
    if (!begun || dots != 3) return std::nullopt;
    return address << 8 | number;
}

std::optional<in_addr> scan_address(const char* text) {
    // The usual form, at a quarter of inet_aton's instructions.
    if (const std::optional<Ipv4> quad = parse_quad(text)) return in_addr{htonl(*quad)};
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
