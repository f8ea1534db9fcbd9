// Address reservations: the DHCP server's steps on its lease file.
#ifndef RC_LAN_RESERVATIONS_H
#define RC_LAN_RESERVATIONS_H

#include <string_view>

#include "lan/leases.h"

// Empties the lease file if its leases belong to another network than the LAN's; creates it if it
// is missing.
void change_lease();
// Enters one entry of "pcdb_list", unless its address is outside the pool.
void dhcp_write_leases(std::string_view entry);
// Enters one reservation. Returns 0, or -1 with a message if the file cannot be opened.
int search_leases(std::string_view hostname, const HardwareAddress& hardware,
                  const Octets& address);

#endif
