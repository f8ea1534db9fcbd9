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
#include <vector>

#include "core/limits.h"

constexpr const char* lease_file = "/var/udhcpd.leases";

// An IPv4 address as its four octets, first octet first, as in the file.
using Octets = std::array<unsigned char, 4>;
// A hardware address: the six bytes of a MAC address, then ten zero bytes.
using HardwareAddress = std::array<unsigned char, 16>;

struct Lease {
    HardwareAddress hardware = {};
    Octets address = {};
    uint32_t seconds = 0;                                         // remaining lease time
    std::array<char, limits::lease_host_name + 1> hostname = {};  // ends in a zero byte
};

constexpr size_t lease_size = 40;
// A reservation is a lease for 365 days.
constexpr uint32_t reservation_seconds = 31536000;

// One record and its bytes in the file; the time is big-endian.
std::array<unsigned char, lease_size> encode_lease(const Lease& lease);
Lease decode_lease(std::span<const unsigned char, lease_size> bytes);

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

// The records after entering one reservation: other records with its address, and records with the
// router's own address, expire; the client's record is changed in place, or a new one is added.
std::vector<Lease> enter_reservation(std::span<const Lease> leases, std::string_view hostname,
                                     const HardwareAddress& hardware, const Octets& address,
                                     const Octets& lan_address);

#endif
