// Where a packet goes, in one form for the rows, `rcplan packet` and the kernel.
#ifndef RC_TESTS_KERNEL_JUDGED_H
#define RC_TESTS_KERNEL_JUDGED_H

#include <string>
#include <vector>

#include "plan/exposure/opening_words.h"
#include "plan/netfilter/packet_walk.h"
#include "wire.h"

struct Judged {
    bool accepted = false;
    std::string out = {};  // empty: the router itself
    Ipv4 destination = 0;
    unsigned port = 0;  // 0 if the protocol has none
    Ipv4 source = 0;    // not compared

    friend bool operator==(const Judged& one, const Judged& other) {
        if (!one.accepted || !other.accepted) return one.accepted == other.accepted;
        return one.out == other.out && one.destination == other.destination &&
               one.port == other.port;
    }
    std::string text() const;
};

Judged judged_by(const KernelFate& fate);
Judged judged_by(const Walk& walk);
// By the openings that contain the packet, which must all say the same.
Judged judged_by(const std::vector<Opening>& openings, const PacketSpace& space,
                 const Packet& packet);

// Look-ups at the router go to either of them at random.
inline constexpr const char* two_name_servers =
    "nameserver 203.0.113.53\nnameserver 203.0.113.54\n";

// Why the rules cannot be played on the cables of the test; empty if they can.
std::string cannot_be_compared(const Firewall& firewall);

#endif
