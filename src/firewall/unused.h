// Nothing in rc calls this.
#ifndef RC_FIREWALL_UNUSED_H
#define RC_FIREWALL_UNUSED_H

#include <string_view>

#include "firewall/services.h"

// Looks a name up in the user's table, then in the predefined one. Returns -1 if the user's table
// has it, otherwise the result of the second search.
int get_serv(std::string_view name, Service& service);

#endif
