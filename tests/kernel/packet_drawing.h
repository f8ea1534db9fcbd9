// Packets at random: of a set, beside it, and at the edges of what rules ask for.
#ifndef RC_TESTS_KERNEL_PACKET_DRAWING_H
#define RC_TESTS_KERNEL_PACKET_DRAWING_H

#include <random>
#include <vector>

#include "frames.h"
#include "plan/exposure/openings.h"

// Whether packets of a protocol can be made here. Connection tracking judges the others by headers
// of their own.
bool is_made(unsigned protocol);

class PacketDrawing {
  public:
    PacketDrawing(const std::vector<const Firewall*>& firewalls, const PacketSpace& space,
                  unsigned seed);

    // A packet of a set that is not empty. It enters by this interface in this state.
    Packet of(const PacketSet& set, const std::string& in, ConnectionState state);
    // The same packet with one or two other values, mostly at the edge of what a rule asks for.
    Packet beside(Packet packet);
    // Any packet.
    Packet any(const std::string& in, ConnectionState state);
    // With a checksum by which connection tracking sees the packet's state.
    WirePacket on_wire(const Packet& packet);

  private:
    const PacketSpace& space_;
    PacketSet beginning_;
    std::mt19937 random_;
    // What the rules compare, with its neighbours.
    std::vector<unsigned> addresses_;
    std::vector<unsigned> ports_;

    unsigned number(unsigned least, unsigned most);
    bool chance(unsigned in) { return number(1, in) == 1; }
    unsigned one_of(const std::vector<unsigned>& list);
    unsigned in_ranges(const std::vector<NumberRange>& ranges, bool edges);
    unsigned address();
    unsigned port() { return chance(4) ? number(0, last_port) : one_of(ports_); }
    // Whether it would begin a connection.
    bool begins(const Packet& packet) const { return space_.holds(beginning_, packet); }
    std::optional<std::string> text_of(Field field, unsigned place) const;
    void change(Packet& packet);
    void complete(Packet& packet);
};

#endif
