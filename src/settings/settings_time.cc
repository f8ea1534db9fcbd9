// Rows of the table of all settings: time zone, time client, schedules.
#include "settings/areas.h"

namespace nvram {

static constexpr Field period_fields[] = {
    {.name = "day", .form = Form::Number, .high = 6, .help = "from Sunday (0) to Saturday (6)"},
    {.name = "from_hour", .form = Form::Number, .high = 23},
    {.name = "from_minute", .form = Form::Number, .high = 59},
    {.name = "to_hour", .form = Form::Number, .high = 24, .help = "24 is the end of the day"},
    {.name = "to_minute", .form = Form::Number, .high = 59},
};
static constexpr Record period_record = {.between = '\x01',
                                         .shape = "day:from_hour:from_minute-to_hour:to_minute",
                                         .fields = period_fields};

// The zones of sched/time_zones.cc, in its order.
static constexpr const char* zone_keys =
    "-12|-11|-10|-9|-8|-7a|-7 2|-7b|-6 1|-6a|-6b|-6c|-5a|-5b|-5c|-4a|-4b|-4c|-3:30|-3b|-3c|"
    "-3 3|-2|-1|-1 2|GMTa|GMTb|+1a|+1b|+1c|+1d|+1e|+2a|+2b|+2c|+2d|+2e|+2f|+3a|+3 2|+3b|"
    "+3c|+3:30|+4a|+4b|+4:30|+5a|+5b|+5 a1|+5 a2|+5 b|+6a|+6 2|+6 a|+7|+7 2|+8a|+8 2|+8c|"
    "+8b|+8d|+9a|+9b|+9c|+9:30a|+9:30b|+10a|+10b|+10c|+10d|+10e|+11|+12a|+12 2|+13";

static constexpr Need with_own_time_server = {.when = if_begins_not("ntp_custom", "0")};
static constexpr Need with_daylight_saving = {
    .when = if_on("time_daylight"), .level = Level::Warning, .fix = "+1a"};
static constexpr Need with_radio_schedule = {
    .when = if_is("wireless_sch_en", "enable"), .level = Level::Warning, .fix = "1:8:0-18:0"};

static constexpr KnownSetting time_rows[] = {
    {.key = "time_zone",
     .form = Form::Text,
     .factory = "GMT-0",
     .when_empty = "the clock shows UTC; the time client gets no zone and fails",
     .help = "zone for TZ: three letters, sign, hours; to the C library GMT-1 is east of GMT"},
    {.key = "time_daylight",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "it is off",
     .help = "daylight saving by the rule of fw_time_zone (1)"},
    {.key = "fw_time_zone",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = zone_keys,
     .factory = "GMTb",
     .when_empty = "there is no daylight saving",
     .when_wrong = "finds no rule, and never applies daylight saving",
     .needed = &with_daylight_saving,
     .help = "zone of the daylight-saving rule, by its key in the table of zones, such as +1a"},
    {.key = "ntp_custom",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "ntp_server is used, as with 1",
     .when_wrong = "treats it as on and uses ntp_server",
     .help = "the time client uses its own servers (0) or ntp_server (1)"},
    {.key = "ntp_server",
     .form = Form::Host,
     .may_be_empty = true,
     .example = "pool.ntp.org",
     .when_empty = "with ntp_custom 1 the time client gets no server",
     .needed = &with_own_time_server,
     .help = "time server, used when ntp_custom is 1"},
    {.key = "fw_schedule",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &period_record,
     .example = "1:8:30-17:0\x01"
                "2:8:30-17:0",
     .when_empty = "this list has no period",
     .help = "periods in which scheduled rules apply; of one past midnight, only the part after"
             " midnight"},
    {.key = "fw_schedule2",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &period_record,
     .example = "5:22:0-6:0",
     .when_empty = "this list has no period",
     .help =
         "second list like fw_schedule; of a period past midnight, only the part before midnight"},
    {.key = "wireless_sch_en",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "enable disable",
     .factory = "disable",
     .when_empty = "as disable",
     .when_wrong = "treats it as off: only enable turns it on",
     .help = "if enable, the radio follows wl_schedule"},
    {.key = "wl_schedule",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &period_record,
     .example = "1:8:0-22:0\x01"
                "0:0:0-0:0",
     .when_empty = "the radio follows no schedule",
     .needed = &with_radio_schedule,
     .help = "periods in which the radio is on; 0:0-0:0 keeps it off all day"},
};
constexpr std::span<const KnownSetting> time_settings = time_rows;

}  // namespace nvram
