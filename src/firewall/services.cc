// The tables of services that access control knows by name.

#include "firewall/services.h"

#include "core/text.h"

namespace {

constexpr size_t service_name_limit = 14;

}  // namespace

int search_serv(std::string_view table, Service& service, std::string_view name) {
    while (!table.empty()) {
        std::string_view record = take_field(table, '\x01');
        // Most are other services', and there are many.
        if (!record.starts_with(name)) continue;
        const std::string_view record_name = cut(take_field(record, ':'), service_name_limit);
        const std::string_view protocol = take_field(record, ':');
        Service found = {.name = std::string(record_name), .protocol = std::string(protocol)};
        if (record_name.empty() || protocol.empty() || record_name != name) continue;
        const std::string ports(record);
        const char* text = ports.c_str();
        if (!scan_int(text, '-', found.first_port) || !scan_int(text, '\0', found.last_port))
            continue;
        service = found;
        return 0;
    }
    return -1;
}
