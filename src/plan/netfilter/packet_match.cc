// Compares packets with what rules ask for.

#include "plan/netfilter/packet_match.h"

#include "core/text.h"

namespace {

constexpr unsigned ethernet_mss = 1460;

MatchAnswer yes_or_no(bool matches, std::string remark = {}) {
    return {.answer = matches ? Answer::Yes : Answer::No, .remark = std::move(remark)};
}

MatchAnswer unknown(const char* missing) {
    return {.answer = Answer::Unknown, .remark = missing};
}

// "ppp+" is every interface whose name begins with "ppp".
bool is_interface(std::string_view asked, std::string_view name) {
    if (asked.ends_with('+')) return name.starts_with(asked.substr(0, asked.size() - 1));
    return asked == name;
}

MatchAnswer match_network(const std::string& asked, std::optional<Ipv4> address,
                          const char* missing) {
    const std::optional<Net> network = read_network(asked);
    if (network && network->mask == 0) return yes_or_no(true);
    if (!address) return unknown(missing);
    return yes_or_no(network && network->holds(*address));
}

MatchAnswer match_range(const std::string& asked, std::optional<Ipv4> address,
                        const char* missing) {
    if (!address) return unknown(missing);
    const std::optional<AddressRange> range = read_address_range(asked);
    return yes_or_no(range && range->first <= *address && *address <= range->last);
}

MatchAnswer match_port(const std::string& asked, std::optional<unsigned> port,
                       const char* missing) {
    if (!port) return unknown(missing);
    const std::optional<NumberRange> range = read_number_range(asked);
    return yes_or_no(range && range->holds(*port));
}

MatchAnswer match_flags(const Packet& packet, unsigned mask, unsigned wanted) {
    if (!packet.tcp_flags) return unknown("the TCP flags (--flags)");
    return yes_or_no((*packet.tcp_flags & mask) == wanted);
}

}  // namespace

MatchAnswer match_in(OptionWords words, const Packet& packet) {
    return yes_or_no(is_interface(words[0], packet.in));
}

MatchAnswer match_out(OptionWords words, const Packet& packet) {
    return yes_or_no(is_interface(words[0], packet.out));
}

MatchAnswer match_protocol(OptionWords words, const Packet& packet) {
    const unsigned asked = read_protocol(words[0]).value_or(0);
    return yes_or_no(asked == 0 || asked == packet.protocol);
}

MatchAnswer match_source(OptionWords words, const Packet& packet) {
    return match_network(words[0], packet.source, "the source address (--src)");
}

MatchAnswer match_destination(OptionWords words, const Packet& packet) {
    return match_network(words[0], packet.destination, "the destination address (--dst)");
}

MatchAnswer match_source_range(OptionWords words, const Packet& packet) {
    return match_range(words[0], packet.source, "the source address (--src)");
}

MatchAnswer match_destination_range(OptionWords words, const Packet& packet) {
    return match_range(words[0], packet.destination, "the destination address (--dst)");
}

MatchAnswer match_source_port(OptionWords words, const Packet& packet) {
    return match_port(words[0], packet.source_port, "the source port (--sport)");
}

MatchAnswer match_destination_port(OptionWords words, const Packet& packet) {
    return match_port(words[0], packet.destination_port, "the destination port (--dport)");
}

MatchAnswer match_syn(OptionWords, const Packet& packet) {
    return match_flags(packet, Syn | Rst | Ack | Fin, Syn);
}

MatchAnswer match_tcp_flags(OptionWords words, const Packet& packet) {
    return match_flags(packet, read_tcp_flags(words[0]).value_or(0),
                       read_tcp_flags(words[1]).value_or(0));
}

// Only a SYN announces a segment size.
MatchAnswer match_mss(OptionWords words, const Packet& packet) {
    if (!packet.tcp_flags) return unknown("the TCP flags (--flags)");
    if ((*packet.tcp_flags & Syn) == 0) return yes_or_no(false);
    const std::optional<NumberRange> range = read_number_range(words[0]);
    const bool matches = range && range->holds(packet.mss.value_or(ethernet_mss));
    return yes_or_no(matches, packet.mss ? "" : "the SYN announces an MSS of 1460 (--mss)");
}

MatchAnswer match_icmp_type(OptionWords words, const Packet& packet) {
    constexpr unsigned any = 255;
    const unsigned asked = read_icmp_type(words[0]).value_or(any);
    if (asked == any) return yes_or_no(true);
    if (!packet.icmp_type) return unknown("the ICMP type (--icmp-type)");
    return yes_or_no(asked == *packet.icmp_type);
}

MatchAnswer match_state(OptionWords words, const Packet& packet) {
    std::string_view asked = words[0];
    while (!asked.empty())
        if (take_field(asked, ',') == state_name(packet.state)) return yes_or_no(true);
    return yes_or_no(false);
}

MatchAnswer match_mark(OptionWords words, const Packet& packet) {
    std::string_view asked = words[0];
    const unsigned mark = read_number(take_field(asked, '/'), 0, 0xffffffff).value_or(0);
    const unsigned mask = read_number(asked, 0, 0xffffffff).value_or(0xffffffff);
    return yes_or_no((packet.mark & mask) == mark);
}

MatchAnswer match_mac_source(OptionWords words, const Packet& packet) {
    if (!packet.mac_source)
        return yes_or_no(false, "it comes from a MAC address that no rule names (--mac-source)");
    return yes_or_no(read_mac(words[0]) == packet.mac_source);
}

MatchAnswer match_mac_dest(OptionWords words, const Packet& packet) {
    if (!packet.mac_dest)
        return yes_or_no(false, "it is sent to the router's own MAC address (--mac-dest)");
    return yes_or_no(read_mac(words[0]) == packet.mac_dest);
}

MatchAnswer match_string(OptionWords words, const Packet& packet) {
    if (!packet.payload)
        return yes_or_no(false, "it carries no text that a rule looks for (--string)");
    return yes_or_no(contains(*packet.payload, words[0]));
}

MatchAnswer match_limit(OptionWords, const Packet& packet) {
    if (packet.over_limit) return yes_or_no(false, "it is beyond every limit (--over-limit)");
    return yes_or_no(true, "it is within every limit (otherwise: --over-limit)");
}

MatchAnswer match_random(OptionWords, const Packet& packet) {
    if (packet.not_drawn) return yes_or_no(false, "chance does not choose it (--not-drawn)");
    return yes_or_no(true, "chance chooses it (otherwise: --not-drawn)");
}
