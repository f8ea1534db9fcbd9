// Sets of packets, as binary decision diagrams over the packets' fields (Debian's libbdd).
#ifndef RC_PLAN_NETFILTER_PACKET_SET_H
#define RC_PLAN_NETFILTER_PACKET_SET_H

#include <bdd.h>

#include <map>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "plan/netfilter/packet_match.h"
#include "plan/netfilter/rule_reading.h"

// A set; copies share the diagram. Not before the first PacketSpace.
class PacketSet {
  public:
    PacketSet() = default;  // without packets
    static PacketSet everything() { return PacketSet(bddtrue); }

    bool is_empty() const { return set_ == bddfalse; }
    bool operator==(const PacketSet& other) const { return set_ == other.set_; }
    PacketSet operator&(const PacketSet& other) const { return PacketSet(set_ & other.set_); }
    PacketSet operator|(const PacketSet& other) const { return PacketSet(set_ | other.set_); }
    PacketSet operator-(const PacketSet& other) const { return PacketSet(set_ - other.set_); }
    bool is_within(const PacketSet& other) const { return (*this - other).is_empty(); }

  private:
    friend class PacketSpace;
    explicit PacketSet(const bdd& set) : set_(set) {}
    bdd set_;
};

// A field's values that have the same rest.
struct PacketPart {
    std::vector<NumberRange> values;  // in order, not adjacent
    PacketSet rest;                   // no longer depends on the field
};

// The fields of packets that sets may tell apart: all of Packet except the interfaces, the state
// and the mark, which are the same for all packets of a walk. Texts are those of the rules; others
// behave alike. Sets of different spaces do not mix.
class PacketSpace {
  public:
    // For the rules of these tables.
    explicit PacketSpace(std::span<const Netfilter* const> tables);
    PacketSpace(const PacketSpace&) = delete;
    PacketSpace& operator=(const PacketSpace&) = delete;

    // The packets that pass a test of such a field.
    PacketSet passing(const FieldTest& test) const;
    PacketSet with(Field field, unsigned first, unsigned last) const;
    PacketSet with(Field field, unsigned number) const { return with(field, number, number); }
    PacketSet with(Field field, const std::vector<NumberRange>& ranges) const;
    // Packets that can exist in this state: ports and flags only where the protocol has them, a
    // payload that contains a text also contains that text's parts.
    PacketSet possible(ConnectionState state) const;

    // The set by the values of one field. Of its fields, in the order MacSource, MacDest, Protocol,
    // DestinationPort, IcmpType, Source, Destination, SourcePort, TcpFlags, WithinLimit, Drawn,
    // Payload, Mss, the set may depend only on this one and those after it.
    std::vector<PacketPart> parts(const PacketSet& set, Field field) const;
    // The values of one field that packets of the set have.
    std::vector<NumberRange> values(const PacketSet& set, Field field) const;
    // The texts of a field; a number of MacSource and MacDest is a place in this list, from 1, and
    // 0 any other address.
    const std::vector<std::string>& texts(Field field) const;
    // The texts of the rules on whose presence in the payload it depends which packets are in the
    // set.
    std::vector<std::string> payloads_that_matter(const PacketSet& set) const;
    bool depends_on(const PacketSet& set, Field field) const;
    // One packet of a set that is not empty.
    Packet one_of(const PacketSet& set) const;
    // Whether a packet, all of whose fields are known, is in a set.
    bool holds(const PacketSet& set, const Packet& packet) const;

  private:
    struct Variables {
        int first = 0;
        int count = 0;
    };
    Variables variables(Field field) const;
    PacketSet bit(int variable) const { return PacketSet(bdd_ithvar(variable)); }
    std::vector<size_t> used_bits(const PacketSet& set, Field field) const;
    void add_texts(const Netfilter& tables);
    PacketSet made_with(Field field, unsigned first, unsigned last) const;

    // Those that were made before: rules are walked many times.
    mutable std::map<std::tuple<Field, unsigned, unsigned>, PacketSet> made_;
    std::vector<std::string> mac_sources_;
    std::vector<std::string> mac_dests_;
    std::vector<std::string> payloads_;
};

#endif
