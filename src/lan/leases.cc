// The DHCP server's lease file, /var/udhcpd.leases: its format, and how a reservation changes it.

#include "lan/leases.h"

#include <arpa/inet.h>
#include <ctype.h>
#include <string.h>

#include <algorithm>

#include "core/text.h"

namespace {

constexpr size_t mac_digits = 12;

void put_big_endian(std::span<unsigned char, 4> bytes, uint32_t value) {
    for (size_t i = 0; i < 4; i++)
        bytes[i] = static_cast<unsigned char>(value >> (24 - 8 * i) & 0xff);
}

uint32_t get_big_endian(std::span<const unsigned char, 4> bytes) {
    uint32_t value = 0;
    for (const unsigned char byte : bytes) value = value << 8 | byte;
    return value;
}

unsigned hex_value(char digit) {
    const int lower = tolower(static_cast<unsigned char>(digit));
    return static_cast<unsigned>(lower >= 'a' ? lower - 'a' + 10 : lower - '0');
}

// Removes the colons and reads the first twelve remaining characters as six two-digit numbers.
std::optional<HardwareAddress> parse_mac(std::string_view text) {
    std::string digits;
    for (const char c : text)
        if (c != ':' && digits.size() < mac_digits) digits += c;
    if (digits.size() < mac_digits) return std::nullopt;
    for (const char digit : digits)
        if (!isxdigit(static_cast<unsigned char>(digit))) return std::nullopt;

    HardwareAddress hardware = {};
    for (size_t i = 0; i < mac_digits / 2; i++)
        hardware[i] = static_cast<unsigned char>(hex_value(digits[2 * i]) << 4 |
                                                 hex_value(digits[2 * i + 1]));
    return hardware;
}

}  // namespace

std::array<unsigned char, lease_size> encode_lease(const Lease& lease) {
    std::array<unsigned char, lease_size> bytes = {};
    const std::span<unsigned char, lease_size> record = bytes;
    memcpy(record.data(), lease.hardware.data(), lease.hardware.size());
    memcpy(record.subspan<16, 4>().data(), lease.address.data(), lease.address.size());
    put_big_endian(record.subspan<20, 4>(), lease.seconds);
    memcpy(record.subspan<24, 16>().data(), lease.hostname.data(), lease.hostname.size());
    return bytes;
}

Lease decode_lease(std::span<const unsigned char, lease_size> bytes) {
    Lease lease;
    memcpy(lease.hardware.data(), bytes.data(), lease.hardware.size());
    memcpy(lease.address.data(), bytes.subspan<16, 4>().data(), lease.address.size());
    lease.seconds = get_big_endian(bytes.subspan<20, 4>());
    memcpy(lease.hostname.data(), bytes.subspan<24, 16>().data(), lease.hostname.size());
    return lease;
}

std::optional<Octets> parse_address(const char* text) {
    in_addr address = {};
    if (inet_aton(text, &address) == 0) return std::nullopt;
    Octets octets;
    memcpy(octets.data(), &address.s_addr, octets.size());
    return octets;
}

std::optional<Reservation> parse_reservation(std::string_view entry) {
    if (std::count(entry.begin(), entry.end(), ';') < 2) return std::nullopt;
    const std::string hostname(take_field(entry, ';'));
    const std::string address_text(take_field(entry, ';'));
    const std::optional<Octets> address = parse_address(address_text.c_str());
    const std::optional<HardwareAddress> hardware = parse_mac(take_field(entry, ';'));
    if (!address || !hardware) return std::nullopt;
    return Reservation{.hostname = hostname, .address = *address, .hardware = *hardware};
}

std::vector<Lease> enter_reservation(std::span<const Lease> leases, std::string_view hostname,
                                     const HardwareAddress& hardware, const Octets& address,
                                     const Octets& lan_address) {
    std::vector<Lease> entered;
    entered.reserve(leases.size() + 1);
    bool found = false;
    for (Lease lease : leases) {
        if (lease.address == Octets{}) break;
        if (lease.address == address || lease.address == lan_address) lease.seconds = 0;
        if (lease.hardware == hardware) {
            lease.address = address;
            lease.seconds = reservation_seconds;
            found = true;
        }
        entered.push_back(lease);
    }
    if (!found) {
        Lease reserved = {.hardware = hardware, .address = address, .seconds = reservation_seconds};
        const std::string_view name = cut(hostname, reserved.hostname.size() - 1);
        std::copy(name.begin(), name.end(), reserved.hostname.begin());
        entered.push_back(reserved);
    }
    return entered;
}
