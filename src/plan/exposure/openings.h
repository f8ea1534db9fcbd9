// Which packets a firewall lets in: every packet, not one. Sets of packets walk through the rules;
// what is accepted is told in products of field values, each with a packet that shows it.
#ifndef RC_PLAN_EXPOSURE_OPENINGS_H
#define RC_PLAN_EXPOSURE_OPENINGS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plan/netfilter/packet_flow.h"
#include "plan/router/plan.h"

// The rules that a run of rc leaves, and the router's networks then. The plan must stay.
struct Firewall {
    explicit Firewall(const Plan& plan);
    // With other rules than the run leaves.
    Firewall(const Plan& plan, Netfilter rules);
    Firewall(const Firewall&) = delete;
    Firewall& operator=(const Firewall&) = delete;

    const Plan& plan;
    Netfilter tables;
    Networks networks;
    FlowRules rules;
};

// Gives the router's WAN interface an example's address (RFC 5737) if it has none, since many rules
// name it. Returns it; empty if nothing was changed.
std::string assume_wan_address(World& router);

// Packets that are accepted alike: all combinations of these values. They arrive with mark 0, in
// frames to the router's own MAC address; a TCP connection begins with a SYN.
struct Opening {
    std::string in;
    ConnectionState state = ConnectionState::New;
    // Places in the rules' list of addresses, as PacketSpace has them.
    std::vector<NumberRange> mac_sources;
    std::vector<NumberRange> protocols;
    // Of tcp and udp; empty if there is neither.
    std::vector<NumberRange> ports;
    std::vector<NumberRange> source_ports;
    // Of icmp; empty if all that the state allows.
    std::vector<NumberRange> icmp_types;
    std::vector<NumberRange> sources;
    std::vector<NumberRange> destinations;
    // The other conditions.
    PacketSet rest;
    // All of it as one set.
    PacketSet packets;

    // Where they go: the interface by which they leave, empty for the router itself; and the
    // address and port after translation, if they are translated.
    std::string out;
    std::optional<Ipv4> to;
    std::optional<unsigned> to_port;
    // The rules that accept them; more than one if they have the same cause.
    std::vector<RulePlace> by;
    std::optional<RulePlace> translated_by;
};

// The purpose of a rule, as a key: packets that rules of the same purpose accept are one opening.
// By default each rule is a purpose of its own.
using Cause = std::function<std::string(const RulePlace& place)>;

// Those by which a connection can be started from an interface, and those for packets related to a
// connection and for packets of none.
std::vector<Opening> openings_of(const Firewall& firewall, const PacketSpace& space,
                                 const std::string& in, const Cause& cause = {});

// Those that start connections which another firewall, of the same space, does not let through to
// the same place.
std::vector<Opening> openings_beyond(const Firewall& firewall, const Firewall& other,
                                     const PacketSpace& space, const std::string& in);

// The openings in two parts: what another firewall, of the same space, lets through to the same
// place too, and what it does not.
struct ComparedOpenings {
    std::vector<Opening> shared;
    std::vector<Opening> beyond;
};
ComparedOpenings compare_openings(const Firewall& firewall, const Firewall& other,
                                  const PacketSpace& space, const std::string& in,
                                  const Cause& cause);

// The packets that may begin a connection or belong to none, as the openings have them.
PacketSet entering(const PacketSpace& space, ConnectionState state);

#endif
