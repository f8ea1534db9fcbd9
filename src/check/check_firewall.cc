// The firewall: NAT, remote management, the DMZ, access control and URL blocking.
#include "check/check_parts.h"
#include "core/limits.h"
#include "firewall/block_lists.h"
#include "firewall/services.h"
#include "settings/records.h"

namespace nvram {

namespace {

constexpr std::string_view separators = "\x01 ";

// The check of forms finds every other value.
void check_nat(Check& check) {
    if (!begins_with(check, "fw_nat", '0')) return;
    add(check, Level::Warning, "fw_nat",
        {.problem = "is off",
         .effect = "leaves FORWARD open: any host that reaches the WAN side reaches the LAN;"
                   " addresses are not translated",
         .fix = "fw_nat=1"});
}

// As good as every address that a host can have.
bool is_everybody(std::uint32_t start, std::uint32_t end) {
    return start <= 0x01000000 && end >= 0xdfffffff;
}

void check_remote(Check& check) {
    if (!is_on(check, "fw_remote")) return;
    if (begins_with(check, "fw_remote_type", '3'))
        add(check, Level::Warning, "fw_remote_type",
            {.problem = "opens the web interface to every host on the WAN",
             .effect = "redirects port " + escaped(text_of(check, "fw_remote_port")) +
                       " of the WAN to it, from any host",
             .fix = "fw_remote_type=1 with fw_remote_single, or 2 with a range"});
    const std::optional<std::uint32_t> start = parse_quad(text_of(check, "fw_remote_range_start"));
    const std::optional<std::uint32_t> end = parse_quad(text_of(check, "fw_remote_range_end"));
    if (!begins_with(check, "fw_remote_type", '2') || !start || !end) return;
    if (is_everybody(*start, *end))
        add(check, Level::Warning, "fw_remote_range_start",
            {.problem = "starts a range of all hosts, up to " + quad_text(*end),
             .effect = "redirects port " + escaped(text_of(check, "fw_remote_port")) +
                       " of the WAN to the web interface, from any host",
             .fix = "the addresses that may manage the router"});
    if (*start <= *end) return;
    add(check, Level::Error, "fw_remote_range_start",
        {.problem = "is above fw_remote_range_end=" + quad_text(*end),
         .effect = "writes a range that contains no address: no host is let in",
         .fix = assignment("fw_remote_range_start", quad_text(*end)) + " " +
                assignment("fw_remote_range_end", quad_text(*start))});
}

// A setting that names a host on the LAN.
void check_lan_host(Check& check, const char* switch_key, const char* key, const char* effect) {
    const std::optional<Net> lan = lan_of(check);
    const std::optional<std::uint32_t> host = address_of(check, key);
    if (!is_on(check, switch_key) || !lan || !host) return;
    if (*host == lan->address) {
        add(check, Level::Error, key,
            {.problem = "is the router's own address",
             .effect = effect,
             .fix = "another host in " + lan->text()});
    } else if (!lan->has_host(*host)) {
        add(check, Level::Error, key,
            {.problem = "is not a host on the LAN " + lan->text(),
             .effect = effect,
             .fix = "a host in " + lan->text()});
    }
}

void check_dmz(Check& check) {
    check_lan_host(check, "fw_dmz_enable", "fw_dmz",
                   "sends all traffic from the WAN to an address without a host");
    if (!is_on(check, "fw_dmz_enable") || is_on(check, "fw_nat")) return;
    add(check, Level::Warning, "fw_dmz_enable",
        {.problem = "is on without fw_nat=1", .effect = "writes no DMZ rule", .fix = "fw_nat=1"});
}

bool service_is_known(const Check& check, std::string_view name) {
    Service service;
    return search_serv(text_of(check, "fw_services_def"), service, name) == 0 ||
           search_serv(text_of(check, "fw_services"), service, name) == 0;
}

void check_service_names(Check& check, Level level) {
    const std::vector<std::string_view> names =
        parse_blocked_services(text_of(check, "access_control"));
    std::string_view unknown;
    std::string left_alone;
    for (const std::string_view name : names) {
        if (unknown.empty() && service_is_known(check, name)) continue;
        if (unknown.empty()) unknown = name;
        if (!left_alone.empty()) left_alone += ", ";
        append_escaped(left_alone, name);
    }
    if (unknown.empty()) return;
    add(check, level, "access_control",
        {.problem =
             "names " + quoted(unknown) + ", which is in neither fw_services_def nor fw_services",
         .effect = "stops there and does not block: " + left_alone,
         .fix = "a name from fw_services, where each entry is name:protocol:first-last"});
}

void check_service_list(Check& check) {
    const std::string_view list = text_of(check, "access_control");
    if (list.empty()) return;
    // With another ac_control the list is not in use.
    const Level level = number_of(check, "ac_control") == 2 ? Level::Error : Level::Warning;
    const std::string_view head = list.substr(0, limits::blocked_services_start);
    if (list.size() <= limits::blocked_services_start ||
        head.find_first_of(separators) != std::string_view::npos)
        add(check, level, "access_control",
            {.problem = "does not have four characters before its first name",
             .effect = "ignores " + quoted(head) + ", whatever it is",
             .fix = "four characters before the first name, such as 0000"});
    check_service_names(check, level);

    std::size_t count = 0;
    std::string_view rest = list.substr(head.size());
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of(separators), rest.size());
        if (end > 0) ++count;
        rest.remove_prefix(std::min(rest.size(), end + 1));
    }
    if (count <= limits::blocked_services) return;
    add(check, level, "access_control",
        {.problem = "has " + std::to_string(count) + " names; the maximum is " +
                    std::to_string(limits::blocked_services),
         .effect = "ignores the rest",
         .fix = "at most " + std::to_string(limits::blocked_services) + " names"});
}

// The services of one table: their ports, and names that are in the other table too.
void check_service_table(Check& check, const char* key) {
    const KnownSetting* const known = find_known(key);
    if (known == nullptr) return;
    const bool users_own = known->key == std::string_view("fw_services");
    unsigned entry = 0;
    for (const std::string_view text : split_records(*known->record, text_of(check, key))) {
        ++entry;
        const std::string name(text.substr(0, text.find(':')));
        const std::string place = place_text(entry, nullptr) + ": " + quoted(name);
        Service service;
        if (search_serv(text, service, name) != 0) continue;
        if (service.first_port > service.last_port)
            add(check, Level::Error, key,
                {.problem = place + " has a first port above its last port",
                 .effect = "writes the range unchanged, and iptables rejects the rule",
                 .fix = "first " + std::to_string(service.last_port) + ", last " +
                        std::to_string(service.first_port)});
        if (users_own && search_serv(text_of(check, "fw_services_def"), service, name) == 0)
            add(check, Level::Warning, key,
                {.problem = place + " has the name of a service in fw_services_def",
                 .effect = "uses the one in fw_services_def",
                 .fix = "another name"});
    }
}

}  // namespace

void check_firewall(Check& check) {
    // An access point starts no firewall.
    if (is_on(check, "ap_mode")) return;
    check_nat(check);
    check_remote(check);
    check_dmz(check);
    check_lan_host(check, "fw_block_trust_enable", "fw_block_trust", "exempts no host");
    check_service_list(check);
    check_service_table(check, "fw_services_def");
    check_service_table(check, "fw_services");
}

}  // namespace nvram
