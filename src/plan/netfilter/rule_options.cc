// The table of options, and the arguments that iptables accepts for each.

#include "plan/netfilter/rule_options.h"

#include <ctype.h>

#include <algorithm>

#include "core/text.h"

namespace {

template <typename Value>
Validity fine_or_refused(const std::optional<Value>& value) {
    return value ? Validity::Fine : Validity::Refused;
}

// Whether a word may be a name that iptables or the router looks up in a list that is not known
// here: a host, a service, a protocol.
bool may_be_name(std::string_view word) {
    return !word.empty() && isalnum(static_cast<unsigned char>(word[0])) &&
           std::ranges::all_of(word, [](char c) {
               return isalnum(static_cast<unsigned char>(c)) || contains("-._", {&c, 1});
           });
}

template <typename Value>
Validity fine_or_name(const std::optional<Value>& value, std::string_view word) {
    if (value) return Validity::Fine;
    const bool number = word.find_first_not_of("0123456789") == std::string_view::npos;
    return may_be_name(word) && !number ? Validity::Unread : Validity::Refused;
}

Validity check_interface(OptionWords words) {
    constexpr size_t longest = 15;
    const bool fits = !words[0].empty() && words[0].size() <= longest;
    return fits ? Validity::Fine : Validity::Refused;
}

Validity check_protocol(OptionWords words) {
    return fine_or_name(read_protocol(words[0]), words[0]);
}

Validity check_network(OptionWords words) {
    if (read_network(words[0])) return Validity::Fine;
    const std::string_view host = std::string_view(words[0]).substr(0, words[0].find('/'));
    // iptables completes short forms of an address, but not one with four numbers.
    const bool digits = host.find_first_not_of("0123456789.") == std::string_view::npos;
    if (digits && std::ranges::count(host, '.') >= 3) return Validity::Refused;
    return may_be_name(host) ? Validity::Unread : Validity::Refused;
}

Validity check_address_range(OptionWords words) {
    if (read_address_range(words[0])) return Validity::Fine;
    // iptables completes short forms of an address.
    const bool short_form = isdigit(static_cast<unsigned char>(words[0][0])) &&
                            words[0].find_first_not_of("0123456789.-") == std::string::npos &&
                            !words[0].ends_with('-');
    return short_form ? Validity::Unread : Validity::Refused;
}

Validity check_ports(OptionWords words) {
    if (read_number_range(words[0])) return Validity::Fine;
    // A service's name begins with a letter; a word that begins with a digit is a wrong number.
    const bool digit = isdigit(static_cast<unsigned char>(words[0][0])) != 0;
    return may_be_name(words[0]) && !digit ? Validity::Unread : Validity::Refused;
}

Validity check_number_range(OptionWords words) {
    return fine_or_refused(read_number_range(words[0]));
}

Validity check_tcp_flags(OptionWords words) {
    const bool fits = read_tcp_flags(words[0]) && read_tcp_flags(words[1]);
    return fits ? Validity::Fine : Validity::Refused;
}

Validity check_icmp_type(OptionWords words) {
    return fine_or_name(read_icmp_type(words[0]), words[0]);
}

Validity check_states(OptionWords words) {
    std::string_view list = words[0];
    if (list.empty()) return Validity::Refused;
    while (!list.empty()) {
        const std::string_view state = take_field(list, ',');
        // Not modelled: rc's rules do not use the table "raw".
        if (state == "UNTRACKED") return Validity::Unread;
        if (state != "NEW" && state != "ESTABLISHED" && state != "RELATED" && state != "INVALID")
            return Validity::Refused;
    }
    return Validity::Fine;
}

Validity check_mark(OptionWords words) {
    std::string_view text = words[0];
    const bool has_mask = contains(text, "/");
    const bool mark = read_number(take_field(text, '/'), 0, 0xffffffff).has_value();
    const bool mask = !has_mask || read_number(text, 0, 0xffffffff);
    return mark && mask ? Validity::Fine : Validity::Refused;
}

Validity check_mac(OptionWords words) {
    return fine_or_refused(read_mac(words[0]));
}

// N/s, N/min and so on.
Validity check_rate(OptionWords words) {
    std::string_view unit = words[0];
    const bool number = read_number(take_field(unit, '/'), 1, 10000).has_value();
    const bool known =
        std::ranges::any_of(std::to_array<std::string_view>({"second", "minute", "hour", "day"}),
                            [&](std::string_view name) { return name.starts_with(unit); });
    return number && known ? Validity::Fine : Validity::Refused;
}

Validity check_burst(OptionWords words) {
    return fine_or_refused(read_number(words[0], 1, 10000));
}

Validity check_pattern(OptionWords words) {
    constexpr size_t longest = 128;
    return words[0].size() <= longest ? Validity::Fine : Validity::Refused;
}

Validity check_algorithm(OptionWords words) {
    return words[0] == "kmp" || words[0] == "bm" ? Validity::Fine : Validity::Refused;
}

Validity check_log_level(OptionWords words) {
    if (read_number(words[0], 0, 7)) return Validity::Fine;
    return may_be_name(words[0]) ? Validity::Unread : Validity::Refused;
}

Validity check_log_prefix(OptionWords words) {
    constexpr size_t longest = 29;
    return words[0].size() <= longest ? Validity::Fine : Validity::Refused;
}

Validity check_rejection(OptionWords words) {
    // "http-block", the block page, is an extension of the router's kernel.
    if (words[0] == "http-block" || words[0] == "tcp-reset") return Validity::Fine;
    return words[0].starts_with("icmp-") ? Validity::Fine : Validity::Refused;
}

// iptables also accepts ranges of addresses and ports, from which the kernel chooses.
Validity check_endpoint(OptionWords words) {
    if (read_endpoint(words[0])) return Validity::Fine;
    return contains(words[0], "-") ? Validity::Unread : Validity::Refused;
}

Validity check_set_mark(OptionWords words) {
    return fine_or_refused(read_number(words[0], 0, 0xffffffff));
}

Validity check_ttl(OptionWords words) {
    return fine_or_refused(read_number(words[0], 0, 255));
}

Validity check_mss(OptionWords words) {
    // The packet also contains the headers.
    return fine_or_refused(read_number(words[0], 0, 65535 - 40));
}

constexpr RuleOption options[] = {
    {.names = {"-i", "--in-interface"},
     .invertible = true,
     .check = check_interface,
     .test = test_in},
    {.names = {"-o", "--out-interface"},
     .invertible = true,
     .check = check_interface,
     .test = test_out},
    {.names = {"-p", "--protocol", "--proto"},
     .invertible = true,
     .check = check_protocol,
     .test = test_protocol},
    {.names = {"-s", "--source", "--src"},
     .invertible = true,
     .check = check_network,
     .test = test_source},
    {.names = {"-d", "--destination", "--dst"},
     .invertible = true,
     .check = check_network,
     .test = test_destination},
    {.names = {"-m", "--match"}},
    {.names = {"-j", "--jump"}},
    {.names = {"--sport", "--source-port"},
     .owner = "ports",
     .invertible = true,
     .check = check_ports,
     .test = test_source_port},
    {.names = {"--dport", "--destination-port"},
     .owner = "ports",
     .invertible = true,
     .check = check_ports,
     .test = test_destination_port},
    {.names = {"--syn"}, .words = 0, .owner = "tcp", .invertible = true, .test = test_syn},
    {.names = {"--tcp-flags"},
     .words = 2,
     .owner = "tcp",
     .invertible = true,
     .check = check_tcp_flags,
     .test = test_tcp_flags},
    {.names = {"--icmp-type"},
     .owner = "icmp",
     .invertible = true,
     .check = check_icmp_type,
     .test = test_icmp_type},
    {.names = {"--state"},
     .owner = "state",
     .invertible = true,
     .check = check_states,
     .test = test_state},
    {.names = {"--mark"},
     .owner = "mark",
     .invertible = true,
     .check = check_mark,
     .test = test_mark},
    {.names = {"--mac-source"},
     .owner = "mac",
     .invertible = true,
     .check = check_mac,
     .test = test_mac_source},
    {.names = {"--mac-dest"},
     .owner = "mac",
     .invertible = true,
     .check = check_mac,
     .test = test_mac_dest},
    {.names = {"--limit"}, .owner = "limit", .check = check_rate},
    {.names = {"--limit-burst"}, .owner = "limit", .check = check_burst},
    {.names = {"--mss"},
     .owner = "tcpmss",
     .invertible = true,
     .check = check_number_range,
     .test = test_mss},
    {.names = {"--src-range"},
     .owner = "iprange",
     .invertible = true,
     .check = check_address_range,
     .test = test_source_range},
    {.names = {"--dst-range"},
     .owner = "iprange",
     .invertible = true,
     .check = check_address_range,
     .test = test_destination_range},
    {.names = {"--string"},
     .owner = "string",
     .invertible = true,
     .check = check_pattern,
     .test = test_string},
    {.names = {"--algo"}, .owner = "string", .check = check_algorithm},
    {.names = {"--log-level"}, .owner = "LOG", .check = check_log_level},
    {.names = {"--log-prefix"}, .owner = "LOG", .check = check_log_prefix},
    {.names = {"--reject-with"}, .owner = "REJECT", .check = check_rejection},
    // "--to" is short for one of these, depending on the target.
    {.names = {"--to"}, .owner = "NAT", .check = check_endpoint},
    {.names = {"--to-destination"}, .owner = "DNAT", .check = check_endpoint},
    {.names = {"--to-source"}, .owner = "SNAT", .check = check_endpoint},
    {.names = {"--set-mark"}, .owner = "MARK", .check = check_set_mark},
    // As iptables-save prints it.
    {.names = {"--set-xmark"}, .owner = "MARK", .check = check_mark},
    {.names = {"--ttl-set"}, .owner = "TTL", .check = check_ttl},
    {.names = {"--ttl-inc"}, .owner = "TTL", .check = check_ttl},
    {.names = {"--set-mss"}, .owner = "TCPMSS", .check = check_mss},
    {.names = {"--clamp-mss-to-pmtu"}, .words = 0, .owner = "TCPMSS"},
};

constexpr RuleModule modules[] = {
    {.name = "state", .needed = "--state"},
    {.name = "mark", .needed = "--mark"},
    {.name = "mac"},
    {.name = "limit", .test = test_limit},
    {.name = "tcpmss", .needed = "--mss"},
    {.name = "iprange"},
    {.name = "string", .needed = "--algo"},
    {.name = "random", .test = test_random},
};

}  // namespace

const RuleOption* find_rule_option(std::string_view word) {
    const auto found = std::ranges::find_if(options, [&](const RuleOption& option) {
        return !word.empty() && std::ranges::count(option.names, word) > 0;
    });
    return found == std::end(options) ? nullptr : found;
}

const RuleModule* find_rule_module(std::string_view name) {
    const auto found = std::ranges::find(modules, name, &RuleModule::name);
    return found == std::end(modules) ? nullptr : found;
}
