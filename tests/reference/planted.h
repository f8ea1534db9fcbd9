// A small table of settings with a row of each form, for the tests of generated pages.
#ifndef RC_TESTS_REFERENCE_PLANTED_H
#define RC_TESTS_REFERENCE_PLANTED_H

#include "reference/reference.h"
#include "settings/table.h"
#include "settings/uses.h"

namespace planted {

using nvram::Form;

inline constexpr nvram::Field period_fields[] = {
    {.name = "day", .form = Form::Number, .low = 0, .high = 6},
    {.name = "from_hour", .form = Form::Number, .low = 0, .high = 23},
    {.name = "from_minute", .form = Form::Number, .low = 0, .high = 59},
    {.name = "to_hour", .form = Form::Number, .low = 0, .high = 24, .help = "24 ends the day"},
    {.name = "to_minute", .form = Form::Number, .low = 0, .high = 59},
};
inline constexpr nvram::Record periods = {
    .between = '\x01',
    .shape = "day:from_hour:from_minute-to_hour:to_minute",
    .fields = period_fields,
};

inline constexpr nvram::Field door_fields[] = {
    {.name = "name", .form = Form::Text, .may_be_empty = true, .high = 8},
    {.name = "protocol", .form = Form::Choice, .choices = "tcp udp"},
    {.name = "port", .form = Form::Number, .low = 1, .high = 65535},
};
inline constexpr nvram::Record doors = {
    .between = ' ',
    .shape = "name\x02protocol|port",
    .fields = door_fields,
    .most = 3,
};

inline constexpr nvram::Field guest_fields[] = {
    {.name = "on", .form = Form::Flag},
    {.name = "address", .form = Form::Address, .choices = "0 any"},
};
inline constexpr nvram::Record guests = {
    .between = ';',
    .shape = "on=address",
    .fields = guest_fields,
    .most = 2,
    .counted = "on",
    .ignored_prefix = 4,
};

inline constexpr nvram::KnownSetting house_rows[] = {
    {.key = "house_name",
     .form = Form::Text,
     .high = 12,
     .factory = "Home",
     .help = "what the house is called: on the door, and on letters"},
    {.key = "light",
     .form = Form::Flag,
     .factory = "0",
     .when_empty = "the light is off",
     .when_absent = "the light is broken",
     .help = "the light is on (1)"},
    {.key = "floors",
     .form = Form::Number,
     .low = 1,
     .high = 300,
     .factory = "2",
     .help = "rc counts them"},
    {.key = "town",
     .form = Form::Choice,
     .choices = "Rome|New York",
     .factory = "Rome",
     .help = "of the house"},
    {.key = "colour",
     .form = Form::Choice,
     .may_be_empty = true,
     .choices = "red light-blue",
     .help = "of the walls, *not* of the_roof_"},
};

inline constexpr nvram::KnownSetting net_rows[] = {
    {.key = "address",
     .form = Form::Address,
     .may_be_empty = true,
     .factory = "192.168.1.1",
     .help = "where it is"},
    {.key = "netmask", .form = Form::Netmask, .factory = "255.255.255.0", .help = "its network"},
    {.key = "mac", .form = Form::Mac, .factory = "02:00:00:00:00:01", .help = "its port"},
    {.key = "port", .form = Form::Interface, .factory = "eth2.2", .help = "the port's name"},
    {.key = "server", .form = Form::Host, .factory = "time.example.net", .help = "its clock"},
    {.key = "wep",
     .form = Form::Hex,
     .secret = true,
     .low = 10,
     .high = 10,
     .factory = "0123456789",
     .help = "its key"},
    {.key = "open",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &periods,
     .example = "1:8:30-17:0\x01"
                "2:8:30-17:0",
     .help = "when it is open"},
    {.key = "doors",
     .form = Form::Record,
     .record = &doors,
     .factory = "\x02tcp|80",
     .help = "its doors"},
    {.key = "guests",
     .form = Form::Record,
     .may_be_empty = true,
     .record = &guests,
     .help = "who may come"},
};

inline constexpr nvram::SettingGroup groups[] = {
    {.title = "House", .settings = house_rows},
    {.title = "Net & port", .settings = net_rows},
};

inline constexpr nvram::Use uses[] = {
    {.key = "light", .actions = "wan firewall"},
};

inline constexpr Reference reference = {.groups = groups, .uses = uses};

// Fails to compile if no row has that key.
constexpr const nvram::KnownSetting& row(std::string_view key) {
    for (const nvram::SettingGroup& group : groups)
        for (const nvram::KnownSetting& setting : group.settings)
            if (key == setting.key) return setting;
    throw "no such row";
}

}  // namespace planted

#endif
