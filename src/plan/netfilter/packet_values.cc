// Reads and writes the values of rules and packets.

#include "plan/netfilter/packet_values.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>

#include <algorithm>

#include "core/limits.h"
#include "core/text.h"

namespace {

struct Named {
    std::string_view name;
    unsigned number;
};

template <size_t size>
std::optional<unsigned> number_of(const Named (&table)[size], std::string_view name) {
    const auto found = std::ranges::find(table, name, &Named::name);
    if (found == std::end(table)) return std::nullopt;
    return found->number;
}

template <size_t size>
std::string name_of(const Named (&table)[size], unsigned number) {
    const auto found = std::ranges::find(table, number, &Named::number);
    return found == std::end(table) ? std::to_string(number) : std::string(found->name);
}

constexpr Named protocols[] = {{"all", 0},  {"icmp", 1}, {"igmp", 2}, {"tcp", 6},
                               {"udp", 17}, {"gre", 47}, {"esp", 50}, {"ah", 51}};

constexpr Named tcp_flags[] = {{"FIN", Fin}, {"SYN", Syn}, {"RST", Rst},
                               {"PSH", Psh}, {"ACK", Ack}, {"URG", Urg}};

// iptables' own names (RFC 792); "any" is what it writes for 255.
constexpr Named icmp_types[] = {{"echo-reply", 0},
                                {"pong", 0},
                                {"destination-unreachable", 3},
                                {"source-quench", 4},
                                {"redirect", 5},
                                {"echo-request", 8},
                                {"ping", 8},
                                {"router-advertisement", 9},
                                {"router-solicitation", 10},
                                {"time-exceeded", 11},
                                {"parameter-problem", 12},
                                {"timestamp-request", 13},
                                {"timestamp-reply", 14},
                                {"address-mask-request", 17},
                                {"address-mask-reply", 18},
                                {"any", 255}};

std::string lower_case(std::string_view text) {
    std::string lower;
    for (const char c : text) lower += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return lower;
}

}  // namespace

std::optional<unsigned> read_number(std::string_view text, unsigned least, unsigned most) {
    if (text.empty() || !isdigit(static_cast<unsigned char>(text[0]))) return std::nullopt;
    const std::string digits(text);
    char* end = nullptr;
    errno = 0;
    const unsigned long number = strtoul(digits.c_str(), &end, 0);
    if (end != digits.c_str() + digits.size() || errno == ERANGE) return std::nullopt;
    if (number < least || number > most) return std::nullopt;
    return static_cast<unsigned>(number);
}

std::optional<Ipv4> read_address(std::string_view text) {
    if (std::ranges::count(text, '.') != 3) return std::nullopt;
    Ipv4 address = 0;
    for (int place = 0; place < 4; place++) {
        const std::optional<unsigned> number = read_number(take_field(text, '.'), 0, 255);
        if (!number) return std::nullopt;
        address = address << 8 | *number;
    }
    return address;
}

std::optional<Net> read_network(std::string_view text) {
    const bool has_mask = contains(text, "/");
    const std::optional<Ipv4> address = read_address(take_field(text, '/'));
    if (!address) return std::nullopt;
    if (!has_mask) return Net{.address = *address};
    if (const std::optional<unsigned> bits = read_number(text, 0, 32))
        return Net{.address = *address, .mask = *bits == 0 ? 0 : 0xffffffff << (32 - *bits)};
    const std::optional<Ipv4> mask = read_address(text);
    if (!mask) return std::nullopt;
    return Net{.address = *address, .mask = *mask};
}

std::optional<AddressRange> read_address_range(std::string_view text) {
    const bool has_last = contains(text, "-");
    const std::optional<Ipv4> first = read_address(take_field(text, '-'));
    const std::optional<Ipv4> last = has_last ? read_address(text) : first;
    if (!first || !last) return std::nullopt;
    return AddressRange{.first = *first, .last = *last};
}

std::optional<NumberRange> read_number_range(std::string_view text) {
    const bool is_range = contains(text, ":");
    const std::string_view first_text = take_field(text, ':');
    const bool open_start = is_range && first_text.empty();
    const std::optional<unsigned> first = open_start ? 0u : read_number(first_text, 0, last_port);
    std::optional<unsigned> last = first;
    if (is_range) last = text.empty() ? last_port : read_number(text, 0, last_port);
    if (!first || !last || *first > *last) return std::nullopt;
    return NumberRange{.first = *first, .last = *last};
}

std::optional<Endpoint> read_endpoint(std::string_view text) {
    Endpoint endpoint;
    const bool has_port = contains(text, ":");
    const std::string_view address = take_field(text, ':');
    if (!address.empty() || !has_port) {
        endpoint.address = read_address(address);
        if (!endpoint.address) return std::nullopt;
    }
    if (!has_port) return endpoint;
    endpoint.port = read_number(text, 1, last_port);
    if (!endpoint.port) return std::nullopt;
    return endpoint;
}

std::optional<unsigned> read_protocol(std::string_view text) {
    if (const std::optional<unsigned> number = read_number(text, 0, 255)) return number;
    return number_of(protocols, lower_case(text));
}

std::optional<std::string> read_mac(std::string_view text) {
    if (text.size() != limits::mac_length) return std::nullopt;
    for (size_t i = 0; i < text.size(); i++) {
        const bool fits =
            i % 3 == 2 ? text[i] == ':' : isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!fits) return std::nullopt;
    }
    return lower_case(text);
}

std::optional<unsigned> read_tcp_flags(std::string_view text) {
    constexpr unsigned all = Fin | Syn | Rst | Psh | Ack | Urg;
    unsigned flags = 0;
    if (text.empty()) return std::nullopt;
    while (!text.empty()) {
        const std::string_view name = take_field(text, ',');
        if (name == "ALL") {
            flags |= all;
        } else if (name != "NONE") {
            const std::optional<unsigned> flag = number_of(tcp_flags, name);
            if (!flag) return std::nullopt;
            flags |= *flag;
        }
    }
    return flags;
}

std::optional<unsigned> read_icmp_type(std::string_view text) {
    if (const std::optional<unsigned> number = read_number(text, 0, 255)) return number;
    return number_of(icmp_types, lower_case(text));
}

std::string endpoint_text(std::optional<Ipv4> address, std::optional<unsigned> port) {
    std::string text = address ? quad_text(*address) : "any address";
    if (port) text += ":" + std::to_string(*port);
    return text;
}

std::string protocol_text(unsigned protocol) {
    return name_of(protocols, protocol);
}

std::string tcp_flags_text(unsigned flags) {
    std::string text;
    for (const Named& flag : tcp_flags)
        if (flags & flag.number) text += (text.empty() ? "" : ",") + std::string(flag.name);
    return text.empty() ? "NONE" : text;
}

bool are_tracked(unsigned tcp_flags) {
    constexpr unsigned tracked[] = {Syn,       Syn | Urg,       Syn | Ack, Rst,      Rst | Ack,
                                    Fin | Ack, Fin | Ack | Urg, Ack,       Ack | Urg};
    return std::ranges::count(tracked, tcp_flags & ~unsigned{Psh}) > 0;
}

bool begin_connection(unsigned tcp_flags) {
    if (!are_tracked(tcp_flags) || (tcp_flags & (Rst | Fin)) != 0) return false;
    return (tcp_flags & (Syn | Ack)) != (Syn | Ack);
}

std::string icmp_type_text(unsigned type) {
    return name_of(icmp_types, type);
}
