// Address reservations: the DHCP server's steps on its lease file.
#ifndef RC_LAN_RESERVATIONS_H
#define RC_LAN_RESERVATIONS_H

#include <string_view>

#include "lan/leases.h"

// Empties the lease file when its leases belong to another network than the LAN's; makes it when it
// is missing.
void change_lease();
// Enters one entry of "pcdb_list", unless its address lies outside the pool.
void dhcp_write_leases(std::string_view entry);
// Enters one reservation. 0, or -1 with a message when the file cannot be opened.
int search_leases(std::string_view hostname, const HardwareAddress& hardware,
                  const Octets& address);

#endif
