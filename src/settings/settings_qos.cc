// Rows of the table of all settings: QoS.
#include "settings/areas.h"

namespace nvram {

static constexpr std::int32_t last_port = 65535;
// In kbit/s: a gigabit, more than the router's ports carry.
static constexpr std::int32_t highest_rate = 1000000;

static constexpr Field qos_fields[] = {
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "not used: every rule applies"},
    {.name = "direction",
     .form = Form::Choice,
     .choices = "0 1",
     .help = "traffic that enters from the LAN (0) or the WAN (1)"},
    {.name = "name",
     .form = Form::Text,
     .high = limits::qos_rule_name,
     .help = "an empty name ends the list"},
    {.name = "first_port", .form = Form::Number, .high = last_port, .help = "0: any port"},
    {.name = "last_port", .form = Form::Number, .high = last_port, .help = "0: only first_port"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "first_address", .form = Form::Address, .choices = "0", .help = "0: any host"},
    {.name = "last_octet",
     .form = Form::Number,
     .high = 254,
     .help = "last number of the last address; 0: only first_address"},
    {.name = "rate",
     .form = Form::Number,
     .high = highest_rate,
     .help = "ceiling in kbit/s, for class 9"},
    {.name = "class",
     .form = Form::Choice,
     .choices = "0 1 2 9",
     .help = "priority high (0), medium (1), low (2); 9: a rule with its own rate"},
};
static constexpr Record qos_record = {.between = '\x01',
                                      .shape =
                                          "on\x02"
                                          "direction\x02"
                                          "name\x02"
                                          "first_port\x02"
                                          "last_port\x02"
                                          "protocol\x02"
                                          "first_address\x02"
                                          "last_octet\x02"
                                          "rate\x02"
                                          "class",
                                      .fields = qos_fields,
                                      .most = limits::qos_rules};

static constexpr Need rate_with_qos = {.when = if_on("qos_enable"),
                                       .effect = "computes rates of 0, which tc rejects"};
static constexpr Need rules_with_qos = {
    .when = if_on("qos_enable"), .level = Level::Note, .fix = "a list of rules"};

static constexpr KnownSetting qos_rows[] = {
    {.key = "qos_enable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "QoS: traffic is shaped (1)"},
    {.key = "qos_type",
     .form = Form::Choice,
     .choices = "priority bandwidth",
     .factory = "priority",
     .when_empty = "as bandwidth",
     .when_wrong = "treats a word that starts with p as priority, any other as bandwidth",
     .help = "shaping by three priorities, or by rules with a rate each"},
    {.key = "wan_bandwidth",
     .form = Form::Number,
     .high = highest_rate,
     .factory = "0",
     .example = "2000",
     .when_empty = "all rates are 0, which tc rejects",
     .needed = &rate_with_qos,
     .help = "line rate for QoS, in kbit/s"},
    {.key = "qos",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &qos_record,
     .example = "1\x02"
                "0\x02"
                "calls\x02"
                "5060\x02"
                "5061\x02"
                "udp\x02"
                "0\x02"
                "0\x02"
                "0\x02"
                "0\x01",
     .when_empty = "all traffic falls into the default class",
     .needed = &rules_with_qos,
     .help = "QoS rules; classes 0 to 2 apply if qos_type is priority, class 9 if it is bandwidth"},
};
constexpr std::span<const KnownSetting> qos_settings = qos_rows;

}  // namespace nvram
