// Statements about what a firewall lets in, for a build server:
//   never PROTOCOL [PORTS] [to TARGET] from IF     no connection of that kind can be started
//   only PROTOCOL [PORTS] to TARGET [from IF]      nothing else reaches that host (from: wan)
//   IF reaches PROTOCOL [PORTS] [at TARGET]        every such connection is accepted (at: router)
// IF is wan, lan or an interface; TARGET router or an IPv4 address; PROTOCOL tcp, udp, icmp, any or
// a number; PORTS numbers and ranges separated by commas. dns, dhcp, web and ping stand for a
// protocol and its port. Empty lines and lines that begin with # are left out.
#ifndef RC_PLAN_EXPOSURE_EXPECTATIONS_H
#define RC_PLAN_EXPOSURE_EXPECTATIONS_H

#include <string>
#include <variant>
#include <vector>

#include "plan/exposure/openings.h"

struct Expectation {
    enum class Kind { Never, Only, Reaches };
    std::string text;
    size_t line = 0;
    Kind kind = Kind::Never;
    unsigned protocol = 0;                // 0: any
    std::vector<NumberRange> ports = {};  // empty: all
    std::string from = "wan";
    std::optional<Ipv4> target = {};
    bool to_router = false;
};

struct ExpectationError {
    size_t line = 0;
    std::string message;
};

std::variant<std::vector<Expectation>, ExpectationError> read_expectations(const std::string& text);

// The words of `rcplan packet` for a packet that contradicts the statement; empty if it holds.
std::string contradiction(const Firewall& firewall, const PacketSpace& space,
                          const Expectation& expected);

// An interface by its role, wan or lan, or by its name.
std::string interface_named(const Networks& networks, const std::string& name);

#endif
