// A packet that meets the packet filter, as far as it is known.
#ifndef RC_PLAN_NETFILTER_PACKET_H
#define RC_PLAN_NETFILTER_PACKET_H

#include <optional>
#include <string>

#include "plan/netfilter/packet_values.h"

enum class ConnectionState { New, Established, Related, Invalid };

constexpr unsigned protocol_icmp = 1;
constexpr unsigned protocol_tcp = 6;
constexpr unsigned protocol_udp = 17;

// What is not stated is unknown, unless its comment says otherwise. A rule that asks for what is
// unknown leaves the verdict open.
struct Packet {
    std::string in;   // empty: the router itself sends it
    std::string out;  // empty: it is routed
    unsigned protocol = 0;
    std::optional<Ipv4> source;
    std::optional<Ipv4> destination;
    std::optional<unsigned> source_port;
    std::optional<unsigned> destination_port;
    ConnectionState state = ConnectionState::New;
    std::optional<unsigned> tcp_flags;
    std::optional<unsigned> icmp_type;
    std::optional<std::string> mac_source;  // not stated: one that no rule names
    std::optional<std::string> mac_dest;    // not stated: the router's own
    std::optional<unsigned> mss;            // what a SYN announces; not stated: an Ethernet's, 1460
    std::optional<std::string> payload;     // not stated: nothing that a rule looks for
    unsigned mark = 0;
    // The circumstances: beyond each rule's limit; not drawn where a rule leaves it to chance.
    bool over_limit = false;
    bool not_drawn = false;
};

// Whether a rule matches, or one of its conditions.
enum class Answer { No, Yes, Unknown };
struct MatchAnswer {
    Answer answer = Answer::No;
    // What was taken for granted, or for Unknown what is missing.
    std::string remark = {};
};

// The names of iptables: "NEW".
const char* state_name(ConnectionState state);

#endif
