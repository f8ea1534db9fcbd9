// The DHCP server's lease file, /var/udhcpd.leases: its format, and how a reservation changes it.

#include "lan/leases.h"

#include <ctype.h>
#include <string.h>

#include <algorithm>

#include "core/ipv4.h"
#include "core/text.h"

namespace {

constexpr size_t mac_digits = 12;

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

// Four bytes to compare.
uint32_t number_at(const unsigned char* bytes) {
    uint32_t number = 0;
    memcpy(&number, bytes, sizeof number);
    return number;
}

}  // namespace

uint32_t Lease::seconds() const {
    uint32_t value = 0;
    for (const unsigned char byte : time) value = value << 8 | byte;
    return value;
}

void Lease::set_seconds(uint32_t seconds) {
    for (size_t i = 0; i < time.size(); i++)
        time[i] = static_cast<unsigned char>(seconds >> (24 - 8 * i) & 0xff);
}

std::optional<Octets> parse_address(const char* text) {
    const std::optional<in_addr> address = scan_address(text);
    if (!address) return std::nullopt;
    Octets octets;
    memcpy(octets.data(), &address->s_addr, octets.size());
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

void enter_reservation(Leases& leases, std::string_view hostname, const HardwareAddress& hardware,
                       const Octets& address, const Octets& lan_address) {
    // Compared as numbers: with 253 reservations there are some 32,000 records to look at.
    const uint32_t wanted = number_at(address.data());
    const uint32_t own = number_at(lan_address.data());
    // Most clients differ in the end of the MAC address already.
    const uint32_t end_of_mac = number_at(&hardware[2]);
    bool found = false;
    size_t kept = 0;
    for (; kept < leases.count && number_at(leases.records[kept].address.data()) != 0; kept++) {
        Lease& lease = leases.records[kept];
        const uint32_t leased = number_at(lease.address.data());
        if (leased == wanted || leased == own) lease.set_seconds(0);
        if (number_at(&lease.hardware[2]) != end_of_mac || lease.hardware != hardware) continue;
        lease.address = address;
        lease.set_seconds(reservation_seconds);
        found = true;
    }
    leases.count = kept;
    if (found) return;
    Lease& reserved = leases.records[leases.count++];
    reserved = {.hardware = hardware, .address = address, .time = {}, .hostname = {}};
    reserved.set_seconds(reservation_seconds);
    const std::string_view name = cut(hostname, reserved.hostname.size() - 1);
    std::copy(name.begin(), name.end(), reserved.hostname.begin());
}
