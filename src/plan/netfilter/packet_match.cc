// Reads the matches of rules, and compares packets with them.

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

// The test asks for nothing if no bit counts.
MatchAnswer compare_number(const FieldTest& test, std::optional<unsigned> number,
                           const char* missing) {
    if (test.mask == 0) return yes_or_no(test.holds(0));
    if (!number) return unknown(missing);
    return yes_or_no(test.holds(*number));
}

// Only a SYN announces an MSS.
MatchAnswer compare_mss(const FieldTest& test, const Packet& packet) {
    if (!packet.tcp_flags) return unknown("the TCP flags (--flags)");
    if ((*packet.tcp_flags & Syn) == 0) return yes_or_no(false);
    return yes_or_no(test.holds(packet.mss.value_or(ethernet_mss)),
                     packet.mss ? "" : "the SYN announces an MSS of 1460 (--mss)");
}

MatchAnswer compare_text(const FieldTest& test, const std::optional<std::string>& text,
                         const char* otherwise) {
    if (!text) return yes_or_no(false, otherwise);
    return yes_or_no(text == test.text);
}

FieldTest number_test(Field field, unsigned number, unsigned mask = 0xffffffff) {
    return {.field = field, .mask = mask, .first = number, .last = number};
}

FieldTest every_value_of(Field field) {
    return {.field = field, .mask = 0};
}

FieldTest network_test(Field field, const std::string& text) {
    const Net network = read_network(text).value_or(Net{});
    return number_test(field, network.address & network.mask, network.mask);
}

FieldTest range_test(Field field, const std::string& text) {
    const AddressRange range = read_address_range(text).value_or(AddressRange{});
    return {.field = field, .first = range.first, .last = range.last};
}

FieldTest number_range_test(Field field, const std::string& text) {
    const NumberRange range = read_number_range(text).value_or(NumberRange{});
    return {.field = field, .first = range.first, .last = range.last};
}

FieldTest text_test(Field field, std::string text) {
    return {.field = field, .text = std::move(text)};
}

}  // namespace

// "ppp+" matches every interface whose name begins with "ppp".
bool FieldTest::holds_interface(std::string_view name) const {
    if (text.ends_with('+'))
        return name.starts_with(std::string_view(text).substr(0, text.size() - 1));
    return text == name;
}

MatchAnswer compare(const FieldTest& test, const Packet& packet) {
    switch (test.field) {
        case Field::In:
            return yes_or_no(test.holds_interface(packet.in));
        case Field::Out:
            return yes_or_no(test.holds_interface(packet.out));
        case Field::Protocol:
            return yes_or_no(test.holds(packet.protocol));
        case Field::Source:
            return compare_number(test, packet.source, "the source address (--src)");
        case Field::Destination:
            return compare_number(test, packet.destination, "the destination address (--dst)");
        case Field::SourcePort:
            return compare_number(test, packet.source_port, "the source port (--sport)");
        case Field::DestinationPort:
            return compare_number(test, packet.destination_port, "the destination port (--dport)");
        case Field::TcpFlags:
            return compare_number(test, packet.tcp_flags, "the TCP flags (--flags)");
        case Field::IcmpType:
            return compare_number(test, packet.icmp_type, "the ICMP type (--icmp-type)");
        case Field::Mss:
            return compare_mss(test, packet);
        case Field::State:
            return yes_or_no(test.holds(state_bit(packet.state)));
        case Field::Mark:
            return yes_or_no(test.holds(packet.mark));
        case Field::MacSource:
            return compare_text(test, packet.mac_source,
                                "its source MAC address is in no rule (--mac-source)");
        case Field::MacDest:
            return compare_text(test, packet.mac_dest,
                                "it is sent to the router's own MAC address (--mac-dest)");
        case Field::Payload:
            if (!packet.payload)
                return yes_or_no(false, "it carries no text that a rule looks for (--string)");
            return yes_or_no(contains(*packet.payload, test.text));
        case Field::WithinLimit:
            if (packet.over_limit) return yes_or_no(false, "it exceeds every limit (--over-limit)");
            return yes_or_no(true, "it is within every limit (otherwise: --over-limit)");
        case Field::Drawn:
            break;
    }
    if (packet.not_drawn) return yes_or_no(false, "no random choice matches it (--not-drawn)");
    return yes_or_no(true, "every random choice matches it (otherwise: --not-drawn)");
}

FieldTest test_in(OptionWords words) {
    return text_test(Field::In, words[0]);
}

FieldTest test_out(OptionWords words) {
    return text_test(Field::Out, words[0]);
}

// 0 is every protocol.
FieldTest test_protocol(OptionWords words) {
    const unsigned wanted = read_protocol(words[0]).value_or(0);
    return wanted == 0 ? every_value_of(Field::Protocol) : number_test(Field::Protocol, wanted);
}

FieldTest test_source(OptionWords words) {
    return network_test(Field::Source, words[0]);
}

FieldTest test_destination(OptionWords words) {
    return network_test(Field::Destination, words[0]);
}

FieldTest test_source_range(OptionWords words) {
    return range_test(Field::Source, words[0]);
}

FieldTest test_destination_range(OptionWords words) {
    return range_test(Field::Destination, words[0]);
}

FieldTest test_source_port(OptionWords words) {
    return number_range_test(Field::SourcePort, words[0]);
}

FieldTest test_destination_port(OptionWords words) {
    return number_range_test(Field::DestinationPort, words[0]);
}

FieldTest test_syn(OptionWords) {
    return number_test(Field::TcpFlags, Syn, Syn | Rst | Ack | Fin);
}

FieldTest test_tcp_flags(OptionWords words) {
    return number_test(Field::TcpFlags, read_tcp_flags(words[1]).value_or(0),
                       read_tcp_flags(words[0]).value_or(0));
}

FieldTest test_mss(OptionWords words) {
    return number_range_test(Field::Mss, words[0]);
}

FieldTest test_icmp_type(OptionWords words) {
    constexpr unsigned any = 255;
    const unsigned wanted = read_icmp_type(words[0]).value_or(any);
    return wanted == any ? every_value_of(Field::IcmpType) : number_test(Field::IcmpType, wanted);
}

FieldTest test_state(OptionWords words) {
    FieldTest test = {.field = Field::State, .mask = 0, .first = 1};
    std::string_view wanted = words[0];
    while (!wanted.empty()) {
        const std::string_view name = take_field(wanted, ',');
        for (const ConnectionState state : connection_states)
            if (name == state_name(state)) test.mask |= state_bit(state);
    }
    return test;
}

FieldTest test_mark(OptionWords words) {
    std::string_view wanted = words[0];
    const unsigned mark = read_number(take_field(wanted, '/'), 0, 0xffffffff).value_or(0);
    const unsigned mask = read_number(wanted, 0, 0xffffffff).value_or(0xffffffff);
    return number_test(Field::Mark, mark, mask);
}

FieldTest test_mac_source(OptionWords words) {
    return text_test(Field::MacSource, read_mac(words[0]).value_or(""));
}

FieldTest test_mac_dest(OptionWords words) {
    return text_test(Field::MacDest, read_mac(words[0]).value_or(""));
}

FieldTest test_string(OptionWords words) {
    return text_test(Field::Payload, words[0]);
}

FieldTest test_limit(OptionWords) {
    return {.field = Field::WithinLimit};
}

FieldTest test_random(OptionWords) {
    return {.field = Field::Drawn};
}
