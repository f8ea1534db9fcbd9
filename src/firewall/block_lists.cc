// The lists in the settings of access control and URL blocking.

#include "firewall/block_lists.h"

#include <algorithm>

#include "core/limits.h"
#include "core/text.h"

std::vector<std::string_view> parse_trusted_macs(std::string_view group) {
    std::vector<std::string_view> macs;
    while (!group.starts_with('\n') && group.size() >= limits::mac_length) {
        group.remove_prefix(std::min(group.find_first_not_of('\x01'), group.size()));
        const std::string_view mac = cut(group, limits::mac_length);
        macs.push_back(mac);
        group.remove_prefix(mac.size());
        // Anything between an address and the next separator is ignored.
        group.remove_prefix(std::min(group.find('\x01'), group.size()));
    }
    return macs;
}

std::vector<std::string_view> parse_keywords(std::string_view list) {
    std::vector<std::string_view> keywords;
    while (!list.empty()) {
        const std::string_view keyword = cut(take_field(list, '\x01'), limits::keyword);
        if (!keyword.empty()) keywords.push_back(keyword);
    }
    return keywords;
}

std::vector<std::string_view> parse_blocked_services(std::string_view list) {
    std::vector<std::string_view> names;
    list.remove_prefix(std::min(list.size(), limits::blocked_services_start));
    while (!list.empty()) {
        std::string_view part = take_field(list, '\x01');
        while (!part.empty() && names.size() < limits::blocked_services) {
            const std::string_view name = cut(take_field(part, ' '), limits::blocked_service_name);
            if (!name.empty()) names.push_back(name);
        }
    }
    return names;
}
