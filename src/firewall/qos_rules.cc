// QoS rules: the records of the setting "qos".

#include "firewall/qos_rules.h"

#include "core/limits.h"
#include "core/text.h"

namespace {

// The widths of a rule's other fields.
constexpr size_t port_width = 5;
constexpr size_t protocol_width = 4;
constexpr size_t address_width = 15;
constexpr size_t octet_width = 3;
constexpr size_t rate_width = 7;
// The maximum number of characters of a range's start that are used for its end.
constexpr size_t range_start_width = 20;

int take_small_integer(std::string_view& record) {
    return static_cast<signed char>(leading_int(take_field(record, '\x02')));
}

std::string take_text(std::string_view& record, size_t width) {
    return std::string(cut(take_field(record, '\x02'), width));
}

QosRule parse_rule(std::string_view record) {
    QosRule rule;
    rule.enabled = take_small_integer(record);
    rule.direction = take_small_integer(record);
    rule.name = take_text(record, limits::qos_rule_name);
    rule.first_port = take_text(record, port_width);
    rule.last_port = take_text(record, port_width);
    rule.protocol = take_text(record, protocol_width);
    rule.first_address = take_text(record, address_width);
    rule.last_octet = take_text(record, octet_width);
    rule.rate = take_text(record, rate_width);
    rule.priority = take_small_integer(record);
    return rule;
}

}  // namespace

int parse_qos_rules(std::string_view list, QosTable& table) {
    if (list.empty()) return -1;
    size_t count = 0;
    for (; !list.empty() && count < table.size(); count++)
        table[count] = parse_rule(take_field(list, '\x01'));
    return static_cast<int>(count);
}

std::string make_range_end(std::string_view first_address, std::string_view last_octet) {
    const std::string_view start = cut(first_address, range_start_width);
    std::string end(start.substr(0, start.rfind('.')));
    end += '.';
    end += last_octet;
    return end;
}
