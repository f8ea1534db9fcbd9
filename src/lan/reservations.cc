// Address reservations: writes "pcdb_list" into the lease file before the DHCP server reads it.

#include "lan/reservations.h"

#include <algorithm>

#include "core/file.h"
#include "core/nvram.h"
#include "core/platform.h"

namespace {

Octets address_setting(const Setting& setting) {
    return parse_address(setting.text()).value_or(Octets{});
}

// The records up to the first partial one, at most lease_capacity.
std::vector<Lease> read_leases(File& file) {
    std::array<unsigned char, limits::leases * lease_size> bytes;
    const size_t count = file.read(bytes) / lease_size;
    std::vector<Lease> leases(count);
    for (size_t i = 0; i < count; i++)
        leases[i] = decode_lease(std::span(bytes).subspan(i * lease_size).first<lease_size>());
    return leases;
}

void write_leases(File& file, std::span<const Lease> leases) {
    std::vector<unsigned char> bytes(leases.size() * lease_size);
    unsigned char* end = bytes.data();
    for (const Lease& lease : leases) {
        const std::array<unsigned char, lease_size> record = encode_lease(lease);
        end = std::copy(record.begin(), record.end(), end);
    }
    file.write(bytes);
}

bool same_network(const Octets& a, const Octets& b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

}  // namespace

void change_lease() {
    const Octets lan = address_setting(nvram_value("lan_ipaddr"));
    {
        File file = open_file(lease_file, "r+");
        if (file) {
            std::array<unsigned char, lease_size> record;
            if (file.read(record) != lease_size) return;
            const Lease first = decode_lease(record);
            if (first.address == Octets{} || same_network(first.address, lan)) return;
        }
    }
    open_file(lease_file, "w");
}

void dhcp_write_leases(std::string_view entry) {
    const std::optional<Reservation> reservation = parse_reservation(entry);
    if (!reservation) return;

    // Only the last octets are compared.
    const Octets start = address_setting(nvram_text("dhcp_start_ip"));
    const Octets end = address_setting(nvram_text("dhcp_end_ip"));
    const unsigned char host = reservation->address[3];
    if (host > end[3] || host < start[3]) return;

    search_leases(reservation->hostname, reservation->hardware, reservation->address);
}

int search_leases(std::string_view hostname, const HardwareAddress& hardware,
                  const Octets& address) {
    const Octets lan = address_setting(nvram_text("lan_ipaddr"));
    // A reservation keeps its other octets, even if the LAN has moved to another network.
    Octets entered = address;
    entered[0] = lan[0];
    // A zero address would end the server's list.
    if (entered == Octets{}) return 0;

    std::vector<Lease> leases;
    {
        File file = open_file(lease_file, "r+");
        if (!file) {
            platform::print_error("fopen r+");
            return -1;
        }
        leases = read_leases(file);
    }
    File file = open_file(lease_file, "w");
    if (!file) {
        platform::print_error("fopen w");
        return -1;
    }
    write_leases(file, enter_reservation(leases, hostname, hardware, entered, lan));
    return 0;
}
