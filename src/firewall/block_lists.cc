// The lists in the settings of access control and URL blocking.

#include "firewall/block_lists.h"

#include <algorithm>

#include "core/text.h"

namespace {

constexpr size_t mac_length = 17;
constexpr size_t keyword_limit = 127;

// The first characters of "access_control" are not part of the list.
constexpr size_t service_list_start = 4;
constexpr size_t service_capacity = 100;
constexpr size_t service_name_limit = 29;

}  // namespace

std::vector<std::string_view> parse_trusted_macs(std::string_view group) {
    std::vector<std::string_view> macs;
    while (!group.starts_with('\n') && group.size() >= mac_length) {
        group.remove_prefix(std::min(group.find_first_not_of('\x01'), group.size()));
        const std::string_view mac = cut(group, mac_length);
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
        const std::string_view keyword = cut(take_field(list, '\x01'), keyword_limit);
        if (!keyword.empty()) keywords.push_back(keyword);
    }
    return keywords;
}

std::vector<std::string_view> parse_blocked_services(std::string_view list) {
    std::vector<std::string_view> names;
    list.remove_prefix(std::min(list.size(), service_list_start));
    while (!list.empty()) {
        std::string_view part = take_field(list, '\x01');
        while (!part.empty() && names.size() < service_capacity) {
            const std::string_view name = cut(take_field(part, ' '), service_name_limit);
            if (!name.empty()) names.push_back(name);
        }
    }
    return names;
}
