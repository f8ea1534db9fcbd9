// The DHCP server's lease file: records of 40 bytes without a header; one with a zero address ends
// the list.
#ifndef RC_LAN_LEASES_H
#define RC_LAN_LEASES_H

#include <stdint.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/limits.h"

constexpr const char* lease_file = "/var/udhcpd.leases";

// An IPv4 address as its four octets, first octet first, as in the file.
using Octets = std::array<unsigned char, 4>;
// A hardware address: the six bytes of a MAC address, then ten zero bytes.
using HardwareAddress = std::array<unsigned char, 16>;

constexpr size_t lease_size = 40;
// A reservation is a lease for 365 days.
constexpr uint32_t reservation_seconds = 31536000;

// A record as it is in the file.
struct Lease {
    HardwareAddress hardware;
    Octets address;
    std::array<unsigned char, 4> time;                       // remaining seconds, big-endian
    std::array<char, limits::lease_host_name + 1> hostname;  // ends in a zero byte

    uint32_t seconds() const;
    void set_seconds(uint32_t seconds);
};
static_assert(sizeof(Lease) == lease_size && alignof(Lease) == 1);

// The records that are read, with room for one more.
struct Leases {
    size_t count;
    std::array<Lease, limits::leases + 1> records;

    std::span<const Lease> view() const { return std::span(records).first(count); }
};

// A dotted quad as inet_aton(3) reads it; nullopt if it is invalid.
std::optional<Octets> parse_address(const char* text);

// One entry of "pcdb_list".
struct Reservation {
    std::string hostname;
    Octets address;
    HardwareAddress hardware;
};

// Reads host;address;mac. nullopt if a field is missing or invalid, since a record with a zero
// address would end the server's list.
std::optional<Reservation> parse_reservation(std::string_view entry);

// Enters one reservation: other records with its address, and records with the router's own
// address, expire; the client's record is changed in place, or a new one is added. The list must
// hold at most limits::leases records.
void enter_reservation(Leases& leases, std::string_view hostname, const HardwareAddress& hardware,
                       const Octets& address, const Octets& lan_address);

#endif
