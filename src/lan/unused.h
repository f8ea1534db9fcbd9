// Nothing in rc calls these.
#ifndef RC_LAN_UNUSED_H
#define RC_LAN_UNUSED_H

#include <string_view>

#include "lan/routes.h"

// Looks a route up by its name. Returns 0 with the record filled, or 1 if no route has the name.
int rt_search(StaticRoute& record, std::string_view name);
// The same for one flag.
int rt_active(std::string_view name, int& active);
int rt_listed(std::string_view name, int& listed);

// The number of a netmask's bits from the highest to the lowest that is set. A mask whose last bit
// is set counts as 0.
int mask_length(const char* netmask);

#endif
