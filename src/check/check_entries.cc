// Fields of records that do not have their form: what rc reads there, by its own parsers.
#include <algorithm>

#include "check/check_parts.h"
#include "core/text.h"
#include "firewall/block_lists.h"
#include "firewall/forward_lists.h"
#include "firewall/services.h"
#include "firewall/trigger_lists.h"
#include "lan/leases.h"
#include "lan/routes.h"
#include "sched/periods.h"
#include "wireless/access_list.h"

namespace nvram {

namespace {

constexpr const char* skips_entry = "skips the entry";

// What of an iptables rule its options read.
struct RuleParts {
    std::string protocol;
    std::string ports;  // "80" or "80:90"
    std::string address;
};

bool is_number(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool is_port_too_high(std::string_view text) {
    return is_number(text) && (text.size() > 9 || leading_int(text) > 65535);
}

// True only where iptables certainly rejects the rule: it knows names of services, numbers of
// protocols, octal numbers and addresses of fewer than four numbers.
bool is_rejected(const RuleParts& parts) {
    constexpr std::string_view with_ports[] = {"tcp", "udp", "udplite", "sctp", "dccp",
                                               "6",   "17",  "33",      "132",  "136"};
    const std::string protocol = lower_case(parts.protocol);
    if (std::find(std::begin(with_ports), std::end(with_ports), protocol) == std::end(with_ports))
        return true;
    const std::size_t colon = parts.ports.find(':');
    const std::string first = parts.ports.substr(0, colon);
    const std::string last = colon == std::string::npos ? first : parts.ports.substr(colon + 1);
    if (is_port_too_high(first) || is_port_too_high(last)) return true;
    if (is_number(first) && is_number(last) && first[0] != '0' && last[0] != '0' &&
        leading_int(first) > leading_int(last))
        return true;
    return parts.address.find_first_not_of("0123456789.") == std::string::npos &&
           !parse_address(parts.address.c_str());
}

std::string effect_of_rule(const Check& check, const std::string& start, const RuleParts& parts) {
    // With ap_mode=1 the firewall is not started, and nothing runs the rules.
    if (is_on(check, "ap_mode")) return "writes no rules while ap_mode=1";
    std::string text = "writes into /tmp/rules: " + start + "-p " + parts.protocol + " -d " +
                       parts.address + " --dport " + parts.ports + " -j ACCEPT";
    text = escaped(text);
    if (is_rejected(parts)) return text + "; iptables rejects it";
    const std::string protocol = lower_case(parts.protocol);
    if (protocol != parts.protocol && (protocol == "tcp" || protocol == "udp"))
        text += "; iptables reads it as " + protocol;
    return text;
}

std::string effect_in_forward(const Check& check, const KnownSetting& known, const Piece& piece) {
    const bool range = known.key == std::string_view("fw_out_rules");
    const std::vector<Forward> forwards =
        parse_forwards(piece.record, range ? out_rules : in_rules);
    if (forwards.empty() || !is_used(known, piece, text_of(check, known.key))) return skips_entry;
    const Forward& forward = forwards[0];
    const bool both = range && forward.protocol == "both";
    RuleParts parts = {.protocol = both ? "tcp" : forward.protocol,
                       .ports = forward.second,
                       .address = lan_prefix(text_of(check, "lan_ipaddr")) + "." + forward.host};
    if (range) parts.ports = forward.first + ":" + forward.second;
    return effect_of_rule(check, range && !both ? "iptables -A FORWARD  " : "iptables -A FORWARD ",
                          parts);
}

std::string effect_in_trigger(const Check& check, const KnownSetting& known, const Piece& piece) {
    if (parse_triggers(piece.record).entries == 0) return skips_entry;
    if (is_on(check, "ap_mode")) return "loads no kernel module while ap_mode=1";
    const TriggerLists lists = parse_triggers(text_of(check, known.key));
    return "writes into /tmp/pnat: " +
           escaped("outport=" + lists.outport + " inport=" + lists.inport) +
           " entries=" + std::to_string(lists.entries);
}

std::string effect_in_service(const Piece& piece) {
    Service service;
    if (search_serv(piece.record, service, piece.record.substr(0, piece.record.find(':'))) != 0)
        return "does not find the service by this name";
    return "reads it as " + escaped(service.protocol) + " " + std::to_string(service.first_port) +
           " to " + std::to_string(service.last_port);
}

std::string effect_in_period(const Check& check, const KnownSetting& known, const Piece& piece) {
    const std::optional<SchedulePeriod> period = parse_period(piece.record);
    if (!period) return skips_entry;
    const bool radio = known.key == std::string_view("wl_schedule");
    const bool radio_on = text_of(check, "wireless_sch_en") == "enable";
    const auto clock = [](int hour, int minute) {
        return std::to_string(hour) + ":" + std::to_string(minute);
    };
    std::string text = "reads it as day " + std::to_string(period->day) + ", " +
                       clock(period->start_hour, period->start_minute) + " to " +
                       clock(period->end_hour, period->end_minute);
    if (!radio || radio_on) text += ", and passes these numbers to cron";
    return text;
}

std::string effect_in_route(const Check& check, const KnownSetting& known, const Piece& piece) {
    if (!is_used(known, piece, text_of(check, known.key))) return skips_entry;
    const std::optional<StaticRoute> route = parse_route(text_of(check, known.key));
    if (!route || route->active != 1) return "adds no route";
    return escaped("runs: /sbin/route add -net " +
                   network_text(route->destination, route->netmask) + " netmask " + route->netmask +
                   " gw " + route->gateway + " metric " + std::to_string(route->metric));
}

std::string effect_in_reservation(const Check& check, const KnownSetting& known,
                                  const Piece& piece) {
    const std::optional<Reservation> reservation = parse_reservation(piece.record);
    if (!reservation) return skips_entry;
    if (!is_used(known, piece, text_of(check, known.key))) return skips_entry;
    std::uint32_t address = 0;
    for (const unsigned char octet : reservation->address) address = address << 8 | octet;
    return "reads the address as " + quad_text(address);
}

// The addresses that rc takes from a list of 17 characters each, from wherever one ends; views into
// the list.
std::vector<std::string_view> addresses_in(const KnownSetting& known, std::string_view list) {
    if (known.key == std::string_view("access_group")) return parse_trusted_macs(list);
    std::vector<std::string_view> addresses;
    while (list.size() >= limits::mac_length && addresses.size() < limits::access_list_addresses)
        addresses.push_back(take_address(list));
    return addresses;
}

bool is_of_addresses(const KnownSetting& known, const Piece& piece) {
    const std::string_view key = known.key;
    return piece.entry > 0 && (key == "access_group" || key == "wifi_access_list");
}

// "" if rc takes an address there.
std::string effect_in_addresses(const Check& check, const KnownSetting& known, const Piece& piece) {
    if (taken_piece(known, piece, text_of(check, known.key))) return "";
    for (const std::string_view address : addresses_in(known, text_of(check, known.key)))
        if (address.data() < piece.text.data() &&
            piece.text.data() < address.data() + address.size())
            return "reads it as a part of the entry before it";
    return skips_entry;
}

std::string effect_in_wmm(const Piece& piece) {
    return plain_number(piece.text) ? "passes the driver the number unchanged"
                                    : "stops reading there, and uses 0 for the numbers after it";
}

std::string effect_in_qos(const Check& check, const KnownSetting& known, const Piece& piece) {
    const std::string_view field = piece.field;
    if (!is_used(known, piece, text_of(check, known.key))) return skips_entry;
    if (is_not_given(known, piece))
        return "takes it as not given, like every text there that starts with 0";
    if (field != "on" && field != "direction" && field != "class") return "";
    return "reads it as " + std::to_string(static_cast<signed char>(leading_int(piece.text)));
}

}  // namespace

bool is_not_given(const KnownSetting& known, const Piece& piece) {
    if (known.key != std::string_view("qos") || !piece.text.starts_with('0')) return false;
    for (const std::string_view field : {"first_port", "last_port", "first_address", "last_octet"})
        if (piece.field != nullptr && piece.field == field) return true;
    return false;
}

std::optional<Piece> taken_piece(const KnownSetting& known, const Piece& piece,
                                 std::string_view value) {
    Piece taken = piece;
    if (!is_of_addresses(known, piece))
        return is_used(known, piece, value) ? std::optional(taken) : std::nullopt;
    for (const std::string_view address : addresses_in(known, value)) {
        if (address.data() != piece.text.data()) continue;
        taken.text = address;
        return taken;
    }
    return std::nullopt;
}

std::string lower_case(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::string effect_in_entry(const Check& check, const KnownSetting& known, const Piece& piece) {
    const std::string_view key = known.key;
    if (known.record == nullptr || piece.field == nullptr) return "";
    if (key == "fw_in_rules" || key == "fw_out_rules")
        return effect_in_forward(check, known, piece);
    if (key == "fw_spapp") return effect_in_trigger(check, known, piece);
    if (key == "fw_services" || key == "fw_services_def") return effect_in_service(piece);
    if (key == "fw_schedule" || key == "fw_schedule2" || key == "wl_schedule")
        return effect_in_period(check, known, piece);
    if (key == "rt_static_route") return effect_in_route(check, known, piece);
    if (key == "pcdb_list") return effect_in_reservation(check, known, piece);
    if (is_of_addresses(known, piece)) return effect_in_addresses(check, known, piece);
    if (key == "wifi_wmm_ap" || key == "wifi_wmm_sta") return effect_in_wmm(piece);
    if (key == "qos") return effect_in_qos(check, known, piece);
    return "";
}

}  // namespace nvram
