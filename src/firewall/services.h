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

// One name:protocol:first-last record of a table, as views into it.
struct ServiceRecord {
    std::string_view name;  // never empty
    std::string_view rest;  // protocol:first-last
};

// The records of a table, so that a caller that looks up many names splits the table only once.
std::vector<ServiceRecord> parse_services(std::string_view table);

// Looks a name up in a table. Returns 0 with the service filled, or -1 if the name is not there.
int search_serv(std::span<const ServiceRecord> records, Service& service, std::string_view name);
int search_serv(std::string_view table, Service& service, std::string_view name);

#endif
