// The tables of named services for access control.

#include "firewall/services.h"

#include "core/text.h"

namespace {

constexpr size_t service_name_limit = 14;

// Whether the record may have this name, checked without parsing the record: most records do not,
// and names with a common beginning mostly differ at the end.
bool may_name(std::string_view name, const std::string_view& record) {
    if (name.empty() || record.size() <= name.size()) return false;
    return (record[name.size()] == ':' || name.size() == service_name_limit) &&
           record[name.size() - 1] == name.back() && record.starts_with(name);
}

}  // namespace

std::vector<std::string_view> parse_services(std::string_view table) {
    std::vector<std::string_view> records;
    while (!table.empty()) {
        const std::string_view record = take_field(table, '\x01');
        records.push_back(record);
    }
    return records;
}

int search_serv(std::span<const std::string_view> records, Service& service,
                std::string_view name) {
    for (const std::string_view& record : records) {
        if (!may_name(name, record)) continue;
        std::string_view rest = record;
        const std::string_view record_name = cut(take_field(rest, ':'), service_name_limit);
        const std::string_view protocol = take_field(rest, ':');
        if (record_name.empty() || protocol.empty() || record_name != name) continue;
        int first_port = 0;
        int last_port = 0;
        if (!scan_int(rest, '-', first_port) || !scan_int(rest, '\0', last_port)) continue;
        service = {.name = std::string(record_name),
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
