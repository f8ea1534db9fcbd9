// IPv4 addresses and networks as numbers.
#include "core/ipv4.h"

namespace nvram {

// Consumes one number; nullopt if it is not an octet of an address.
static std::optional<std::uint32_t> take_octet(std::string_view& text) {
    std::uint32_t number = 0;
    std::size_t digits = 0;
    while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9' && digits < 4)
        number = number * 10 + static_cast<std::uint32_t>(text[digits++] - '0');
    const bool leading_zero = digits > 1 && text[0] == '0';
    if (digits == 0 || leading_zero || number > 255) return std::nullopt;
    text.remove_prefix(digits);
    return number;
}

std::optional<std::uint32_t> parse_quad(std::string_view text) {
    std::uint32_t address = 0;
    for (int place = 0; place < 4; ++place) {
        if (place > 0) {
            if (!text.starts_with('.')) return std::nullopt;
            text.remove_prefix(1);
        }
        const std::optional<std::uint32_t> octet = take_octet(text);
        if (!octet) return std::nullopt;
        address = address << 8 | *octet;
    }
    if (!text.empty()) return std::nullopt;
    return address;
}

std::string quad_text(std::uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift < 24) text += '.';
        text += std::to_string(address >> shift & 255);
    }
    return text;
}

bool is_mask(std::uint32_t mask) {
    const std::uint32_t zeros = ~mask;
    return (zeros & (zeros + 1)) == 0;
}

std::string Net::text() const {
    return quad_text(first()) + "/" + quad_text(mask);
}

std::optional<Net> parse_net(std::string_view address, std::string_view mask) {
    const std::optional<std::uint32_t> a = parse_quad(address);
    const std::optional<std::uint32_t> m = parse_quad(mask);
    if (!a || !m || *m == 0 || *m > 0xfffffffc || !is_mask(*m)) return std::nullopt;
    return Net{.address = *a, .mask = *m};
}

}  // namespace nvram
