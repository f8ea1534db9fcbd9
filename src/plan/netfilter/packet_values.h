// The values in rules and packets, as iptables writes them: addresses, ports, MAC addresses, flags.
// Each reader returns nullopt for a text that iptables would refuse.
#ifndef RC_PLAN_NETFILTER_PACKET_VALUES_H
#define RC_PLAN_NETFILTER_PACKET_VALUES_H

#include <optional>
#include <string>
#include <string_view>

#include "core/ipv4.h"

inline constexpr unsigned last_port = 65535;

struct AddressRange {
    Ipv4 first = 0;
    Ipv4 last = 0;
};

struct NumberRange {
    unsigned first = 0;
    unsigned last = 0;

    bool holds(unsigned number) const { return first <= number && number <= last; }
};

// A target of NAT: an address and a port, either of which may be missing.
struct Endpoint {
    std::optional<Ipv4> address;
    std::optional<unsigned> port;
};

// TCP's flags with the values of its header.
enum TcpFlag : unsigned { Fin = 1, Syn = 2, Rst = 4, Psh = 8, Ack = 16, Urg = 32 };

// An integer as iptables reads it: decimal, octal after "0", hexadecimal after "0x".
std::optional<unsigned> read_number(std::string_view text, unsigned least, unsigned most);
// Four such numbers separated by dots.
std::optional<Ipv4> read_address(std::string_view text);
// ADDRESS, ADDRESS/BITS or ADDRESS/MASK.
std::optional<Net> read_network(std::string_view text);
// ADDRESS or ADDRESS-ADDRESS.
std::optional<AddressRange> read_address_range(std::string_view text);
// N, N:M, N: or :M, up to 65535.
std::optional<NumberRange> read_number_range(std::string_view text);
// ADDRESS, ADDRESS:PORT or :PORT.
std::optional<Endpoint> read_endpoint(std::string_view text);
// A number up to 255, or a name; "all" is 0.
std::optional<unsigned> read_protocol(std::string_view text);
// Six pairs of hexadecimal digits, in lower case.
std::optional<std::string> read_mac(std::string_view text);
// Names separated by commas, "ALL" or "NONE".
std::optional<unsigned> read_tcp_flags(std::string_view text);
// A number, or the name of an ICMP type; 255 is any.
std::optional<unsigned> read_icmp_type(std::string_view text);

// "192.168.1.5:80"; without a port the address alone.
std::string endpoint_text(std::optional<Ipv4> address, std::optional<unsigned> port);
std::string protocol_text(unsigned protocol);
// Whether connection tracking accepts these TCP flags together. Packets with any other set are
// INVALID: no flag, SYN with FIN or RST, FIN or URG alone. PSH makes no difference.
bool are_tracked(unsigned tcp_flags);
// Whether connection tracking accepts these flags in the first packet of a connection that it sees:
// a SYN, or an ACK of a connection that is already established.
bool begin_connection(unsigned tcp_flags);
std::string tcp_flags_text(unsigned flags);
std::string icmp_type_text(unsigned type);

#endif
