// QoS rules: the records of the setting "qos".
#ifndef RC_FIREWALL_QOS_RULES_H
#define RC_FIREWALL_QOS_RULES_H

#include <array>
#include <string>
#include <string_view>

#include "core/limits.h"

// The class of a rule that has its own rate.
constexpr int bandwidth_class = 9;

struct QosRule {
    int enabled = 0;
    int direction = 0;  // 0: entering from the LAN, else from the WAN
    std::string name;   // an empty one ends the rules
    std::string first_port;
    std::string last_port;
    std::string protocol;
    std::string first_address;
    std::string last_octet;
    std::string rate;  // kbit/s
    int priority = 0;  // class 0, 1, 2, or bandwidth_class
};

using QosTable = std::array<QosRule, limits::qos_rules>;

// Clears a table and fills it from a list. Returns the number of records read, -1 if the list is
// empty.
int parse_qos_rules(std::string_view list, QosTable& table);

// The end of an address range: the first address with another last octet.
std::string make_range_end(std::string_view first_address, std::string_view last_octet);

#endif
