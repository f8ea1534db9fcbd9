// The tables of services that access control knows by name.

#include "firewall/services.h"

#include "core/text.h"

namespace {

constexpr size_t service_name_limit = 14;

// False when the record does not read to its end.
bool read_service(const ServiceRecord& record, Service& service) {
    std::string_view rest = record.rest;
    const std::string_view protocol = take_field(rest, ':');
    if (protocol.empty()) return false;
    Service found = {.name = std::string(record.name), .protocol = std::string(protocol)};
    const std::string ports(rest);
    const char* text = ports.c_str();
    if (!scan_int(text, '-', found.first_port) || !scan_int(text, '\0', found.last_port))
        return false;
    service = found;
    return true;
}

}  // namespace

std::vector<ServiceRecord> parse_services(std::string_view table) {
    std::vector<ServiceRecord> records;
    while (!table.empty()) {
        std::string_view record = take_field(table, '\x01');
        const std::string_view name = cut(take_field(record, ':'), service_name_limit);
        if (!name.empty()) records.push_back({.name = name, .rest = record});
    }
    return records;
}

int search_serv(std::span<const ServiceRecord> table, Service& service, std::string_view name) {
    for (const ServiceRecord& record : table)
        if (record.name == name && read_service(record, service)) return 0;
    return -1;
}

int search_serv(std::string_view table, Service& service, std::string_view name) {
    return search_serv(parse_services(table), service, name);
}
