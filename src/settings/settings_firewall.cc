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
     .when_wrong = "rewrites addresses, and leaves FORWARD open: hosts of the WAN reach the LAN",
     .help = "address translation, and nothing forwarded unasked (1), or neither (0)"},
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
     .when_empty = "nothing leads to the web interface from outside",
     .when_wrong = "opens the web interface's port, and redirects nothing to it",
     .help = "remote management from one address (1), a range (2) or anywhere (3)"},
    {.key = "fw_remote_single",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "203.0.113.9",
     .when_empty = "with fw_remote_type 1 the rule fails",
     .needed = &with_one_remote,
     .help = "remote management: the one address, when fw_remote_type is 1"},
    {.key = "fw_remote_range_start",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "203.0.113.8",
     .when_empty = "with fw_remote_type 2 the rule fails",
     .needed = &with_remote_range,
     .help = "remote management: first address of the range, when fw_remote_type is 2"},
    {.key = "fw_remote_range_end",
     .form = Form::Address,
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
     .when_wrong = "leaves the TTL alone",
     .help =
         "time to live: as it is (0), 1 more (1), 2 more (2), set to 1 (3), set to fw_ttl_ud (4)"},
    {.key = "fw_ttl_ud",
     .form = Form::Number,
     .low = 1,
     .high = 255,
     .factory = "64",
     .when_empty = "with fw_ttl 4 packets leave with a time to live of 0",
     .help = "time to live of what leaves the router when fw_ttl is 4, in hops"},
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
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "in use (1) or not (0)"},
    {.name = "any", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "outside", .form = Form::Number, .low = 1, .high = last_port, .help = "WAN port"},
    {.name = "inside", .form = Form::Number, .low = 1, .high = last_port, .help = "host's port"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp"},
    {.name = "host",
     .form = Form::Number,
     .low = 1,
     .high = 254,
     .help = "last number of the host's address; the others are those of lan_ipaddr"},
};
static constexpr Record single_record = {.between = '\x01',
                                         .shape = "name:on:any:outside:inside:protocol:host",
                                         .fields = single_fields,
                                         .most = limits::single_forwards,
                                         .counted = "on"};

static constexpr Field range_fields[] = {
    {.name = "name", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "in use (1) or not (0)"},
    {.name = "any", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "first", .form = Form::Number, .low = 1, .high = last_port, .help = "first port"},
    {.name = "last", .form = Form::Number, .low = 1, .high = last_port, .help = "last port"},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "host",
     .form = Form::Number,
     .low = 1,
     .high = 254,
     .help = "last number of the host's address; the others are those of lan_ipaddr"},
};
static constexpr Record range_record = {.between = '\x01',
                                        .shape = "name:on:any:first:last:protocol:host",
                                        .fields = range_fields,
                                        .most = limits::range_forwards,
                                        .counted = "on"};

static constexpr Field trigger_fields[] = {
    {.name = "index", .form = Form::Number, .high = 9999, .help = "not used"},
    {.name = "on", .form = Form::Choice, .choices = "0 1", .help = "in use (1) or not (0)"},
    {.name = "name", .form = Form::Text, .may_be_empty = true, .help = "not used"},
    {.name = "trigger_protocol", .form = Form::Choice, .choices = "tcp udp both"},
    {.name = "trigger_first", .form = Form::Number, .low = 1, .high = last_port},
    {.name = "trigger_last", .form = Form::Number, .low = 1, .high = last_port},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp both", .help = "incoming"},
    {.name = "first", .form = Form::Number, .low = 1, .high = last_port, .help = "incoming"},
    {.name = "last", .form = Form::Number, .low = 1, .high = last_port, .help = "incoming"},
};
// Not a count but a length limits them: 511 characters of ports.
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
     .when_wrong = "writes the field into the rules as it stands, and iptables refuses them",
     .help = "forwards of single ports of the WAN to hosts of the LAN"},
    {.key = "fw_out_rules",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &range_record,
     .example = "games:1:0:27000:27050:both:20",
     .when_empty = "no range of ports is forwarded",
     .when_wrong = "writes the field into the rules as it stands, and iptables refuses them",
     .help = "forwards of ranges of ports of the WAN to hosts of the LAN"},
    {.key = "fw_spapp",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &trigger_record,
     .example = "0:1:calls:tcp:6000-6010:udp:7000-7010\x01",
     .when_empty = "the kernel module is loaded without entries",
     .when_wrong =
         "hands the field to the kernel module as it stands; another word than tcp, udp or"
         " both takes the protocol of the entry before",
     .help = "special applications: a host that sends to trigger ports gets incoming ports opened"},
    {.key = "fw_dmz_enable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "DMZ: what comes from the WAN and is not forwarded otherwise goes to fw_dmz (1)"},
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
     .twice = "finds the first of a name only"},
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
     .help = "a name of fw_services_def or fw_services; an unknown one ends the list"},
};
static constexpr Record blocked_record = {.between = '\x01',
                                          .shape = "service",
                                          .fields = blocked_fields,
                                          .most = limits::blocked_services,
                                          .passed_over = limits::blocked_services_start};

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
     .help = "one word of the shell"},
};
static constexpr Record keyword_record = {
    .between = '\x01', .shape = "keyword", .fields = keyword_fields};

static constexpr Need with_blocked_services = {
    .when = if_is("ac_control", "2"), .level = Level::Warning, .cure = "....HTTP"};
static constexpr Need with_access_exemption = {
    .when = if_on("fw_trustenable"), .level = Level::Warning, .cure = "00:11:22:33:44:55"};
static constexpr Need with_url_blocking = {
    .when = if_begins("fw_block", "12"), .level = Level::Warning, .cure = "keyword"};
static constexpr Need with_url_exemption = {.when = if_on("fw_block_trust_enable"),
                                            .level = Level::Warning};

static constexpr KnownSetting block_rows[] = {
    {.key = "ac_control",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1 2",
     .factory = "0",
     .when_empty = "as 0",
     .when_wrong = "takes a number of 1 or 2, and anything else for off",
     .help = "access control: off (0), nothing of the LAN passes (1), listed services do not (2)"},
    {.key = "ac_sch",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1",
     .factory = "0",
     .when_empty = "always",
     .when_wrong = "takes a number of 1 for by schedule, anything else for always",
     .help = "access control always (0) or only while a schedule is open (1)"},
    {.key = "access_control",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &blocked_record,
     .example = "0000FTP\x01HTTP",
     .when_empty = "no service is blocked",
     .needed = &with_blocked_services,
     .help =
         "blocked services, when ac_control is 2; four characters that nobody reads come first"},
    {.key = "fw_services",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &service_record,
     .example = "Printer:tcp:9100-9102",
     .when_empty = "access control knows the predefined services only",
     .when_wrong = "does not find the service, or blocks other ports than are meant",
     .help = "services of the user's own, for access control"},
    {.key = "fw_services_def",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &service_record,
     .example = "FTP:tcp:20-21\x01HTTP:tcp:80-80",
     .when_empty = "access control knows the user's services only",
     .when_wrong = "does not find the service, or blocks other ports than are meant",
     .help = "predefined services, for access control; their names win over those of fw_services"},
    {.key = "fw_trustenable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "nobody is exempt",
     .help = "the hosts of access_group are exempt from access control (1)"},
    {.key = "access_group",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &trusted_record,
     .example = "00:11:22:aa:bb:cc\x01"
                "00:11:22:aa:bb:dd",
     .when_empty = "nobody is exempt",
     .when_wrong = "takes 17 characters from the start of each record, whatever they are",
     .needed = &with_access_exemption,
     .help = "MAC addresses of the hosts exempt from access control, when fw_trustenable is 1"},
    {.key = "log_access",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "what access control blocks is logged (1)"},
    {.key = "fw_block",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "0 1 2",
     .factory = "0",
     .when_empty = "as 0",
     .when_wrong = "looks at its first character: 1 is always, 2 by schedule, any other off",
     .help = "URL blocking by keywords: off (0), always (1), while a schedule is open (2)"},
    {.key = "fw_block_keyword",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &keyword_record,
     .example = "casino\x01lottery",
     .when_empty = "no web request is blocked",
     .needed = &with_url_blocking,
     .help = "keywords; web requests that hold one are blocked"},
    {.key = "fw_block_trust_enable",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "nobody is exempt",
     .help = "the host fw_block_trust is exempt from URL blocking (1)"},
    {.key = "fw_block_trust",
     .form = Form::Address,
     .may_be_empty = true,
     .example = "192.168.1.100",
     .when_empty = "nobody is exempt",
     .needed = &with_url_exemption,
     .help = "address of the LAN host exempt from URL blocking"},
};
constexpr std::span<const KnownSetting> block_settings = block_rows;

}  // namespace nvram
