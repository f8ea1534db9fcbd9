// Port forwards and special applications: hosts, ranges, overlaps.
#include <cstring>

#include "check/check_parts.h"
#include "core/limits.h"
#include "core/text.h"
#include "firewall/forward_lists.h"
#include "firewall/trigger_lists.h"
#include "settings/records.h"

namespace nvram {

namespace {

// One forward that is on, as its ports on the WAN.
struct OpenPorts {
    const char* key;
    unsigned entry;
    Forward forward;
    int first;
    int last;
};

bool is_range(const char* key) {
    return std::strcmp(key, "fw_out_rules") == 0;
}

// rc parses the whole list at once; parsing record by record gives each forward's entry number.
void collect(std::vector<OpenPorts>& ports, const Check& check, const char* key,
             const ForwardStore& store) {
    const KnownSetting* const known = find_known(key);
    if (known == nullptr) return;
    unsigned entry = 0;
    for (const std::string_view text : split_records(*known->record, text_of(check, key))) {
        ++entry;
        for (const Forward& forward : parse_forwards(text, store)) {
            const int first = leading_int(forward.first);
            const int last = is_range(key) ? leading_int(forward.second) : first;
            ports.push_back(
                {.key = key, .entry = entry, .forward = forward, .first = first, .last = last});
        }
    }
}

std::string place_of(const OpenPorts& ports) {
    return place_text(ports.entry, nullptr);
}

void check_host(Check& check, const OpenPorts& ports) {
    const std::optional<Net> lan = lan_of(check);
    const std::string text = lan_prefix(text_of(check, "lan_ipaddr")) + "." + ports.forward.host;
    const std::optional<std::uint32_t> host = parse_quad(text);
    if (!lan || !host) return;
    const bool own = *host == lan->address;
    if (!own && lan->has_host(*host)) return;
    add(check, Level::Error, ports.key,
        {.problem =
             place_of(ports) + " leads to " + text +
             (own ? ", the router itself" : ", which is not a host on the LAN " + lan->text()),
         .effect = own ? "forwards to itself, where nothing answers to the WAN"
                       : "forwards to an address without a host",
         .fix = "the last number of a host's address in " + lan->text()});
}

void check_order(Check& check, const OpenPorts& ports) {
    if (ports.first <= ports.last) return;
    add(check, Level::Error, ports.key,
        {.problem = place_of(ports) + " has a first port above its last port",
         .effect = "writes " + ports.forward.first + ":" + ports.forward.second +
                   " unchanged, and iptables rejects the rules",
         .fix = "first " + ports.forward.second + ", last " + ports.forward.first});
}

void check_remote_port(Check& check, const OpenPorts& ports) {
    const int remote = number_of(check, "fw_remote_port");
    if (!is_on(check, "fw_remote") || ports.forward.protocol == "udp") return;
    if (remote < ports.first || remote > ports.last) return;
    const bool from_anywhere = begins_with(check, "fw_remote_type", '3');
    add(check, from_anywhere ? Level::Error : Level::Warning, ports.key,
        {.problem = place_of(ports) + " contains port " + std::to_string(remote) +
                    ", the port of remote management",
         .effect = std::string("redirects it to the web interface before the forward applies") +
                   (from_anywhere ? "" : ", for hosts allowed to manage the router"),
         .fix = "another port here or in fw_remote_port"});
}

bool share_protocol(const Forward& one, const Forward& other) {
    return one.protocol == "both" || other.protocol == "both" || one.protocol == other.protocol;
}

void check_overlap(Check& check, const OpenPorts& earlier, const OpenPorts& later) {
    if (!share_protocol(earlier.forward, later.forward)) return;
    if (later.first > earlier.last || earlier.first > later.last) return;
    std::string of_other;
    if (earlier.key != later.key) of_other = std::string(" of ") + earlier.key;
    add(check, Level::Warning, later.key,
        {.problem = place_of(later) + " shares ports with " + place_of(earlier) + of_other,
         .effect = "sends shared ports to the host of the earlier entry",
         .fix = "other ports"});
}

void check_ranges_of_trigger(Check& check, unsigned entry,
                             const std::vector<std::string_view>& fields) {
    constexpr std::size_t trigger_first = 4;
    constexpr std::size_t incoming_first = 7;
    for (const std::size_t place : {trigger_first, incoming_first}) {
        const std::optional<long long> first = plain_number(fields[place]);
        const std::optional<long long> last = plain_number(fields[place + 1]);
        if (!first || !last || *first <= *last) continue;
        add(check, Level::Error, "fw_spapp",
            {.problem = place_text(entry, nullptr) + " has a first port above its last port, " +
                        std::to_string(*first) + "-" + std::to_string(*last),
             .effect = "passes both to the kernel module, which finds no port between them",
             .fix = std::to_string(*last) + "-" + std::to_string(*first)});
    }
}

void check_triggers(Check& check) {
    const KnownSetting* const known = find_known("fw_spapp");
    const std::string_view list = text_of(check, "fw_spapp");
    if (known == nullptr || list.empty()) return;
    constexpr std::size_t on = 1;
    int count = 0;
    unsigned entry = 0;
    for (const std::string_view text : split_records(*known->record, list)) {
        ++entry;
        const std::vector<std::string_view> fields = split_fields(*known->record, text);
        if (fields.size() < known->record->fields.size()) continue;
        if (leading_int(fields[on]) == 0) continue;
        ++count;
        check_ranges_of_trigger(check, entry, fields);
    }
    const int used = parse_triggers(list).entries;
    if (used >= count) return;
    add(check, Level::Error, "fw_spapp",
        {.problem = "has " + std::to_string(count) + " enabled entries, which do not fit into " +
                    std::to_string(limits::trigger_list) + " characters of ports",
         .effect = "uses " + std::to_string(used) + " of them",
         .fix = "fewer entries"});
}

}  // namespace

void check_forwards(Check& check) {
    if (is_on(check, "ap_mode")) return;
    std::vector<OpenPorts> ports;
    collect(ports, check, "fw_in_rules", in_rules);
    collect(ports, check, "fw_out_rules", out_rules);
    for (std::size_t i = 0; i < ports.size(); ++i) {
        check_host(check, ports[i]);
        check_order(check, ports[i]);
        check_remote_port(check, ports[i]);
        for (std::size_t j = 0; j < i; ++j) check_overlap(check, ports[j], ports[i]);
    }
    check_triggers(check);
}

}  // namespace nvram
