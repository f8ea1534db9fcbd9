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

// Returns the number of records up to the first partial one.
size_t read_records(File& file, std::span<Lease> records) {
    auto* const bytes = reinterpret_cast<unsigned char*>(records.data());
    return file.read({bytes, records.size_bytes()}) / lease_size;
}

void write_records(File& file, std::span<const Lease> records) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(records.data());
    file.write({bytes, records.size_bytes()});
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
            std::array<Lease, 1> first;
            if (read_records(file, first) == 0) return;
            const Octets& address = first[0].address;
            if (address == Octets{} || same_network(address, lan)) return;
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

    Leases leases;
    {
        File file = open_file(lease_file, "r+");
        if (!file) {
            platform::print_error("fopen r+");
            return -1;
        }
        leases.count = read_records(file, std::span(leases.records).first<limits::leases>());
    }
    File file = open_file(lease_file, "w");
    if (!file) {
        platform::print_error("fopen w");
        return -1;
    }
    enter_reservation(leases, hostname, hardware, entered, lan);
    write_records(file, leases.view());
    return 0;
}
