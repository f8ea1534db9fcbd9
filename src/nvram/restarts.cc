// The table of restarts. Its rows are generated.
#include "nvram/restarts.h"

#include <iterator>

namespace nvram {

namespace {

constexpr Application all_applications[] = {
    {.name = "lan", .stops = false},
    {.name = "printk", .stops = true},
    {.name = "wlan", .stops = true, .pauses = 4},
    {.name = "syslogd", .stops = true},
    {.name = "httpd", .stops = true},
    {.name = "dhcpd", .stops = true},
    {.name = "ntp", .stops = true},
    {.name = "route", .stops = true},
    {.name = "ripd", .stops = true},
    {.name = "upnp", .stops = true, .pauses = 3},
    {.name = "wan", .stops = true, .pauses = 9},
    {.name = "wan_basic", .stops = true},
    {.name = "firewall", .stops = true, .pauses = 4},
    {.name = "igmp", .stops = true, .pauses = 1},
    {.name = "schedule", .stops = false},
    {.name = "ddns", .stops = false},
};

constexpr Applications bit(std::string_view name) {
    for (std::size_t i = 0; i < std::size(all_applications); ++i)
        if (name == all_applications[i].name) return Applications{1} << i;
    return name == "init" ? at_boot : 0;
}

struct Row {
    // Both lists are separated by spaces.
    const char* actions;
    const char* keys;
};
constexpr Row rows[] = {
#include "nvram/restarts.inc"
};

std::string_view take_word(std::string_view& words) {
    const std::size_t end = words.find(' ');
    const std::string_view word = words.substr(0, end);
    words.remove_prefix(end == std::string_view::npos ? words.size() : end + 1);
    return word;
}

bool has_word(std::string_view words, std::string_view wanted) {
    while (!words.empty())
        if (take_word(words) == wanted) return true;
    return false;
}

}  // namespace

std::span<const Application> applications() {
    return all_applications;
}

std::vector<const char*> names_of(Applications chosen, Half half) {
    std::vector<const char*> names;
    for (std::size_t i = 0; i < std::size(all_applications); ++i)
        if ((chosen >> i & 1) != 0 && (half == Half::Start || all_applications[i].stops))
            names.push_back(all_applications[i].name);
    return names;
}

unsigned pauses_of(Applications chosen) {
    unsigned seconds = 0;
    for (std::size_t i = 0; i < std::size(all_applications); ++i)
        if ((chosen >> i & 1) != 0) seconds += all_applications[i].pauses;
    return seconds;
}

Applications users_of(std::string_view key) {
    Applications users = 0;
    for (const Row& row : rows) {
        if (!has_word(row.keys, key)) continue;
        for (std::string_view names = row.actions; !names.empty();) users |= bit(take_word(names));
    }
    return users;
}

Applications with_followers(Applications changed) {
    constexpr Applications wan = bit("wan");
    constexpr Applications services =
        bit("wan_basic") | bit("firewall") | bit("igmp") | bit("schedule") | bit("ddns");
    // The Internet side stops its services and, once it has an address, starts them.
    if ((changed & (wan | bit("wan_basic"))) != 0) changed = (changed & ~services) | wan;
    // A new address of the bridge removes the routes behind it: the user's own, that of UPnP, and
    // that of WPS, which the radio's start sets.
    if ((changed & bit("lan")) != 0) changed |= bit("route") | bit("upnp") | bit("wlan");
    return changed;
}

}  // namespace nvram
