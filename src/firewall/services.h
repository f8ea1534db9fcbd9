// The tables of named services for access control.
#ifndef RC_FIREWALL_SERVICES_H
#define RC_FIREWALL_SERVICES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

struct Service {
    std::string name;
    std::string protocol;  // "tcp", "udp", "both" or "any"
    int first_port = 0;
    int last_port = 0;
};

// The name:protocol:first-last records of a table, as views into it. A caller that looks up many
// names splits the table once.
std::vector<std::string_view> parse_services(std::string_view table);

// Looks a name up in a table. 0 with the service filled, -1 if it is not there.
int search_serv(std::span<const std::string_view> records, Service& service, std::string_view name);
int search_serv(std::string_view table, Service& service, std::string_view name);

// Looks a name up in the user's table, then in the predefined one. -1 if the user's table has it,
// else the result of the second search.
int get_serv(std::string_view name, Service& service);

#endif
