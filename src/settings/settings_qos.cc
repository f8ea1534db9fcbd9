// Rows of the table of all settings: QoS.
#include "settings/areas.h"

namespace nvram {

static constexpr std::int32_t last_port = 65535;
// In kbit/s: a gigabit, more than the router's ports carry.
static constexpr std::int32_t highest_rate = 1000000;

static constexpr Field qos_fields[] = {
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "not used: all rules count"},
    {.name = "direction",
     .form = Form::Choice,
     .choices = "0 1",
     .help = "traffic that enters from the LAN (0) or the WAN (1)"},
    {.name = "name",
     .form = Form::Text,
     .high = limits::qos_rule_name,
     .help = "an empty one would end the rules"},
    {.name = "first_port", .form = Form::Number, .high = last_port, .help = "0: any port"},
    {.name = "last_port", .form = Form::Number, .high = last_port, .help = "0: first_port alone"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "first_address", .form = Form::Address, .choices = "0", .help = "0: any host"},
    {.name = "last_octet",
     .form = Form::Number,
     .high = 254,
     .help = "last number of the last address; 0: first_address alone"},
    {.name = "rate",
     .form = Form::Number,
     .high = highest_rate,
     .help = "ceiling in kbit/s, for class 9"},
    {.name = "class",
     .form = Form::Choice,
     .choices = "0 1 2 9",
     .help = "priority high (0), middle (1), low (2); 9 is a rule with a rate of its own"},
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
                                       .effect = "computes rates of 0, which tc refuses"};
static constexpr Need rules_with_qos = {
    .when = if_on("qos_enable"), .level = Level::Note, .cure = "a list of rules"};

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
     .when_wrong = "takes a word that begins with p for priority, any other for bandwidth",
     .help = "shaping by three priorities, or by rules that each have a rate of their own"},
    {.key = "wan_bandwidth",
     .form = Form::Number,
     .high = highest_rate,
     .factory = "0",
     .example = "2000",
     .when_empty = "all rates are 0, which tc refuses",
     .needed = &rate_with_qos,
     .help = "the line's rate for QoS, in kbit/s"},
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
     .when_wrong =
         "copies the field into /tmp/qos.conf as it stands, and tc or iptables refuses its line",
     .needed = &rules_with_qos,
     .help = "QoS rules; those of class 0 to 2 count by priority, those of class 9 by bandwidth"},
};
constexpr std::span<const KnownSetting> qos_settings = qos_rows;

}  // namespace nvram
