// A packet that enters the packet filter, as far as it is known.
#ifndef RC_PLAN_NETFILTER_PACKET_H
#define RC_PLAN_NETFILTER_PACKET_H

#include <optional>
#include <string>

#include "plan/netfilter/packet_values.h"

enum class ConnectionState { New, Established, Related, Invalid };
inline constexpr ConnectionState connection_states[] = {
    ConnectionState::New, ConnectionState::Established, ConnectionState::Related,
    ConnectionState::Invalid};

constexpr unsigned protocol_icmp = 1;
constexpr unsigned protocol_tcp = 6;
constexpr unsigned protocol_udp = 17;

// A field without a value is unknown, unless its comment says otherwise. If a rule depends on an
// unknown field, the verdict is unknown.
struct Packet {
    std::string in;   // empty: sent by the router itself
    std::string out;  // empty: it is routed
    unsigned protocol = 0;
    std::optional<Ipv4> source;
    std::optional<Ipv4> destination;
    std::optional<unsigned> source_port;
    std::optional<unsigned> destination_port;
    ConnectionState state = ConnectionState::New;
    std::optional<unsigned> tcp_flags;
    std::optional<unsigned> icmp_type;
    std::optional<std::string> mac_source;  // no value: an address that is in no rule
    std::optional<std::string> mac_dest;    // no value: the router's own
    std::optional<unsigned> mss;            // announced in a SYN; no value: Ethernet's, 1460
    std::optional<std::string> payload;     // no value: no text that a rule looks for
    unsigned mark = 0;
    // Exceeds the limit of each rule that has one; does not match rules with a random choice.
    bool over_limit = false;
    bool not_drawn = false;
};

// Whether a rule matches, or one of its conditions.
enum class Answer { No, Yes, Unknown };
struct MatchAnswer {
    Answer answer = Answer::No;
    // The assumption made, if any; for Unknown, the missing information.
    std::string remark = {};
};

// The names of iptables: "NEW".
const char* state_name(ConnectionState state);

#endif
