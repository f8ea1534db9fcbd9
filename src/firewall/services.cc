// The tables of named services for access control.

#include "firewall/services.h"

#include "core/limits.h"
#include "core/text.h"

std::vector<ServiceRecord> parse_services(std::string_view table) {
    std::vector<ServiceRecord> records;
    while (!table.empty()) {
        std::string_view rest = take_field(table, '\x01');
        const std::string_view name = cut(take_field(rest, ':'), limits::service_name);
        if (!name.empty()) records.push_back({.name = name, .rest = rest});
    }
    return records;
}

int search_serv(std::span<const ServiceRecord> records, Service& service, std::string_view name) {
    for (const ServiceRecord& record : records) {
        if (record.name != name) continue;
        std::string_view rest = record.rest;
        const std::string_view protocol = take_field(rest, ':');
        if (protocol.empty()) continue;
        int first_port = 0;
        int last_port = 0;
        if (!scan_int(rest, '-', first_port) || !scan_int(rest, '\0', last_port)) continue;
        service = {.name = std::string(name),
                   .protocol = std::string(protocol),
                   .first_port = first_port,
                   .last_port = last_port};
        return 0;
    }
    return -1;
}

int search_serv(std::string_view table, Service& service, std::string_view name) {
    return search_serv(parse_services(table), service, name);
}
