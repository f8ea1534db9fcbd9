// Rows of the table of all settings: firewall, port forwarding, access control and URL blocking.
#include "settings/areas.h"

namespace nvram {

static constexpr std::int32_t last_port = 65535;

static constexpr Need with_one_remote = {.when = if_on("fw_remote"),
                                         .also = if_begins("fw_remote_type", "1")};
static constexpr Need with_remote_range = {.when = if_on("fw_remote"),
                                           .also = if_begins("fw_remote_type", "2")};

static constexpr KnownSetting firewall_rows[] = {
    {.key = "fw_nat",
     .form = Form::Flag,
     .factory = "1",
     .when_empty = "addresses are translated, but FORWARD is left open and there is no DMZ",
     .when_wrong = "translates addresses, sets FORWARD's policy to ACCEPT and writes no DMZ rule",
     .help = "address translation, with unsolicited traffic not forwarded (1), or neither (0)"},
    {.key = "fw_response_ping",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "pings from the WAN are answered (1)"},
    {.key = "fw_remote",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "remote management: the web interface can be reached from the WAN (1)"},
    {.key = "fw_remote_port",
     .form = Form::Number,
     .low = 1,
     .high = last_port,
     .factory = "8080",
     .when_empty = "the rule of remote management fails",
     .help = "remote management: TCP port on the WAN"},
    {.key = "fw_remote_type",
     .form = Form::Choice,
     .choices = "1 2 3",
     .factory = "1",
     .when_empty = "nothing is redirected to the web interface",
     .when_wrong = "reads only the first character: 1, 2 or 3, and anything else redirects nothing",
     .help = "remote management from one address (1), a range (2) or anywhere (3)"},
    {.key = "fw_remote_single",
     .form = Form::Quad,
     .may_be_empty = true,
     .example = "203.0.113.9",
     .when_empty = "with fw_remote_type 1 the rule fails",
     .needed = &with_one_remote,
     .help = "remote management: the one address, when fw_remote_type is 1"},
    {.key = "fw_remote_range_start",
     .form = Form::Quad,
     .may_be_empty = true,
     .example = "203.0.113.8",
     .when_empty = "with fw_remote_type 2 the rule fails",
     .needed = &with_remote_range,
     .help = "remote management: first address of the range, when fw_remote_type is 2"},
    {.key = "fw_remote_range_end",
     .form = Form::Quad,
     .may_be_empty = true,
     .example = "203.0.113.15",
     .when_empty = "with fw_remote_type 2 the rule fails",
     .needed = &with_remote_range,
     .help = "remote management: last address of the range, when fw_remote_type is 2"},
    {.key = "fw_ttl",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1 2 3 4",
     .factory = "0",
     .when_empty = "as 0",
     .when_wrong = "reads it as a number: 1 to 4, and anything else leaves the TTL unchanged",
     .help =
         "time to live: unchanged (0), plus 1 (1), plus 2 (2), set to 1 (3), set to fw_ttl_ud (4)"},
    {.key = "fw_ttl_ud",
     .form = Form::Number,
     .low = 1,
     .high = 255,
     .factory = "64",
     .when_empty = "with fw_ttl 4 packets leave with a time to live of 0",
     .help = "time to live of outgoing packets when fw_ttl is 4, in hops"},
    {.key = "log_outgoing",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "new connections from the LAN are logged (1)"},
};
constexpr std::span<const KnownSetting> firewall_settings = firewall_rows;

static constexpr Field single_fields[] = {
    {.name = "name", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "enabled (1) or disabled (0)"},
    {.name = "any", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "outside", .form = Form::Number, .low = 1, .high = last_port, .help = "WAN port"},
    {.name = "inside",
     .form = Form::Number,
     .low = 1,
     .high = last_port,
     .help = "port on the host"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp"},
    {.name = "host",
     .form = Form::Number,
     .low = 1,
     .high = 254,
     .help = "last number of the host's address; the first three come from lan_ipaddr"},
};
static constexpr Record single_record = {.between = '\x01',
                                         .shape = "name:on:any:outside:inside:protocol:host",
                                         .fields = single_fields,
                                         .most = limits::single_forwards,
                                         .counted = "on"};

static constexpr Field range_fields[] = {
    {.name = "name", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "enabled (1) or disabled (0)"},
    {.name = "any", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "first", .form = Form::Number, .low = 1, .high = last_port, .help = "first port"},
    {.name = "last", .form = Form::Number, .low = 1, .high = last_port, .help = "last port"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "host",
     .form = Form::Number,
     .low = 1,
     .high = 254,
     .help = "last number of the host's address; the first three come from lan_ipaddr"},
};
static constexpr Record range_record = {.between = '\x01',
                                        .shape = "name:on:any:first:last:protocol:host",
                                        .fields = range_fields,
                                        .most = limits::range_forwards,
                                        .counted = "on"};

static constexpr Field trigger_fields[] = {
    {.name = "index", .form = Form::Number, .high = 9999, .help = "not used"},
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "enabled (1) or disabled (0)"},
    {.name = "name", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "trigger_protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "trigger_first", .form = Form::Number, .low = 1, .high = last_port},
    {.name = "trigger_last", .form = Form::Number, .low = 1, .high = last_port},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both", .help = "incoming"},
    {.name = "first", .form = Form::Number, .low = 1, .high = last_port, .help = "incoming"},
    {.name = "last", .form = Form::Number, .low = 1, .high = last_port, .help = "incoming"},
};
// The list is limited by its length, not by a count: 511 characters of ports.
static constexpr Record trigger_record = {
    .between = '\x01',
    .shape = "index:on:name:trigger_protocol:trigger_first-trigger_last:protocol:first-last",
    .fields = trigger_fields};

static constexpr Need with_dmz = {.when = if_on("fw_dmz_enable")};

static constexpr KnownSetting forward_rows[] = {
    {.key = "fw_in_rules",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &single_record,
     .example = "web:1:0:8080:80:tcp:10",
     .when_empty = "no single port is forwarded",
     .help = "forwards of single ports of the WAN to hosts of the LAN"},
    {.key = "fw_out_rules",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &range_record,
     .example = "games:1:0:27000:27050:both:20",
     .when_empty = "no range of ports is forwarded",
     .help = "forwards of ranges of ports of the WAN to hosts of the LAN"},
    {.key = "fw_spapp",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &trigger_record,
     .example = "0:1:calls:tcp:6000-6010:udp:7000-7010\x01",
     .when_empty = "the kernel module is loaded without entries",
     .help =
         "special applications (port triggering): a host that sends to trigger ports gets incoming"
         " ports opened"},
    {.key = "fw_dmz_enable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "DMZ: traffic from the WAN that is not forwarded otherwise goes to fw_dmz (1)"},
    {.key = "fw_dmz",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "192.168.1.100",
     .when_empty = "with fw_dmz_enable 1 the rules of the DMZ fail",
     .needed = &with_dmz,
     .help = "address of the DMZ host in the LAN"},
};
constexpr std::span<const KnownSetting> forward_settings = forward_rows;

static constexpr Field service_fields[] = {
    {.name = "name",
     .form = Form::Text,
     .twice_level = Level::Warning,
     .high = limits::service_name,
     .twice = "uses only the first entry with a name"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both any"},
    {.name = "first", .form = Form::Number, .low = 1, .high = last_port, .help = "first port"},
    {.name = "last", .form = Form::Number, .low = 1, .high = last_port, .help = "last port"},
};
static constexpr Record service_record = {
    .between = '\x01', .shape = "name:protocol:first-last", .fields = service_fields};

static constexpr Field blocked_fields[] = {
    {.name = "service",
     .form = Form::Text,
     .high = limits::blocked_service_name,
     .help = "name of a service in fw_services_def or fw_services; an unknown one ends the list"},
};
static constexpr Record blocked_record = {.between = '\x01',
                                          .shape = "service",
                                          .fields = blocked_fields,
                                          .most = limits::blocked_services,
                                          .ignored_prefix = limits::blocked_services_start};

static constexpr Field trusted_fields[] = {
    {.name = "mac", .form = Form::Mac, .twice = "writes the same rule twice"},
};
static constexpr Record trusted_record = {
    .between = '\x01', .shape = "mac", .fields = trusted_fields};

static constexpr Field keyword_fields[] = {
    {.name = "keyword",
     .form = Form::Text,
     .high = limits::keyword,
     .twice = "writes the same rule twice",
     .help = "a single shell word"},
};
static constexpr Record keyword_record = {
    .between = '\x01', .shape = "keyword", .fields = keyword_fields};

static constexpr Need with_blocked_services = {
    .when = if_is("ac_control", "2"), .level = Level::Warning, .fix = "....HTTP"};
static constexpr Need with_access_exemption = {
    .when = if_on("fw_trustenable"), .level = Level::Warning, .fix = "00:11:22:33:44:55"};
static constexpr Need with_url_blocking = {
    .when = if_begins("fw_block", "12"), .level = Level::Warning, .fix = "keyword"};
static constexpr Need with_url_exemption = {.when = if_on("fw_block_trust_enable"),
                                            .level = Level::Warning};

static constexpr KnownSetting block_rows[] = {
    {.key = "ac_control",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1 2",
     .factory = "0",
     .when_empty = "as 0",
     .when_wrong = "reads it as a number: 1 or 2, and anything else means off",
     .help = "access control: off (0), all traffic from the LAN is blocked (1), listed services are"
             " blocked (2)"},
    {.key = "ac_sch",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1",
     .factory = "0",
     .when_empty = "always",
     .when_wrong = "reads it as a number: 1 means by schedule, anything else means always",
     .help = "access control applies always (0) or only by schedule (1)"},
    {.key = "access_control",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &blocked_record,
     .example = "0000FTP\x01HTTP",
     .when_empty = "no service is blocked",
     .needed = &with_blocked_services,
     .help = "blocked services, when ac_control is 2; the first four characters are ignored"},
    {.key = "fw_services",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &service_record,
     .example = "Printer:tcp:9100-9102",
     .when_empty = "access control knows only the predefined services",
     .help = "user-defined services, for access control"},
    {.key = "fw_services_def",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &service_record,
     .example = "FTP:tcp:20-21\x01HTTP:tcp:80-80",
     .when_empty = "access control knows only the user-defined services",
     .help = "predefined services, for access control; they take precedence over fw_services"},
    {.key = "fw_trustenable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "no host is exempt",
     .help = "the hosts in access_group are exempt from access control (1)"},
    {.key = "access_group",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &trusted_record,
     .example = "00:11:22:aa:bb:cc\x01"
                "00:11:22:aa:bb:dd",
     .when_empty = "no host is exempt",
     .needed = &with_access_exemption,
     .help = "MAC addresses of the hosts exempt from access control, when fw_trustenable is 1"},
    {.key = "log_access",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "traffic that access control blocks is logged (1)"},
    {.key = "fw_block",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1 2",
     .factory = "0",
     .when_empty = "as 0",
     .when_wrong =
         "reads only the first character: 1 means always, 2 by schedule, anything else off",
     .help = "URL blocking by keywords: off (0), always (1), by schedule (2)"},
    {.key = "fw_block_keyword",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &keyword_record,
     .example = "casino\x01lottery",
     .when_empty = "no web request is blocked",
     .needed = &with_url_blocking,
     .help = "keywords; web requests that contain one are blocked"},
    {.key = "fw_block_trust_enable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "no host is exempt",
     .help = "the host fw_block_trust is exempt from URL blocking (1)"},
    {.key = "fw_block_trust",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "192.168.1.100",
     .when_empty = "no host is exempt",
     .needed = &with_url_exemption,
     .help = "address of the LAN host exempt from URL blocking"},
};
constexpr std::span<const KnownSetting> block_settings = block_rows;

}  // namespace nvram
