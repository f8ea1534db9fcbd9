// What the options of rules ask of a packet: one of its fields is in a set.
#ifndef RC_PLAN_NETFILTER_PACKET_MATCH_H
#define RC_PLAN_NETFILTER_PACKET_MATCH_H

#include <span>
#include <string>

#include "plan/netfilter/packet.h"

enum class Field {
    In,
    Out,
    Protocol,
    Source,
    Destination,
    SourcePort,
    DestinationPort,
    TcpFlags,
    IcmpType,
    Mss,    // of a SYN
    State,  // as a bit, see state_bit()
    Mark,
    MacSource,
    MacDest,
    Payload,
    WithinLimit,
    Drawn,  // by a random choice
};

// One of two kinds. A number, of which only the mask's bits count, is between first and last, both
// included; or a text: an interface's name, which a "+" at the end makes a beginning of names, a
// MAC address, or a part of the payload. WithinLimit and Drawn have neither.
struct FieldTest {
    Field field = Field::Protocol;
    unsigned mask = 0xffffffff;
    unsigned first = 0;
    unsigned last = 0xffffffff;
    std::string text = {};

    bool holds(unsigned number) const {
        return first <= (number & mask) && (number & mask) <= last;
    }
    bool holds_interface(std::string_view name) const;
};

constexpr unsigned state_bit(ConnectionState state) {
    return 1u << static_cast<unsigned>(state);
}

MatchAnswer compare(const FieldTest& test, const Packet& packet);

using OptionWords = std::span<const std::string>;

// The tests of options. Each function gets the option's arguments, which iptables accepts.
FieldTest test_in(OptionWords words);
FieldTest test_out(OptionWords words);
FieldTest test_protocol(OptionWords words);
FieldTest test_source(OptionWords words);
FieldTest test_destination(OptionWords words);
FieldTest test_source_range(OptionWords words);
FieldTest test_destination_range(OptionWords words);
FieldTest test_source_port(OptionWords words);
FieldTest test_destination_port(OptionWords words);
FieldTest test_syn(OptionWords words);
FieldTest test_tcp_flags(OptionWords words);
FieldTest test_mss(OptionWords words);
FieldTest test_icmp_type(OptionWords words);
FieldTest test_state(OptionWords words);
FieldTest test_mark(OptionWords words);
FieldTest test_mac_source(OptionWords words);
FieldTest test_mac_dest(OptionWords words);
FieldTest test_string(OptionWords words);
// Modules that match without an option.
FieldTest test_limit(OptionWords words);
FieldTest test_random(OptionWords words);

#endif
