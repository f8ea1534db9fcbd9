// The table of all settings: selected rows, rules for every row, and the factory settings.
#include "settings/table.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <set>
#include <sstream>

#include "libnvram/image.h"
#include "libnvram/secret.h"
#include "sched/time_zones.h"

using namespace nvram;

namespace {

const KnownSetting no_row = {.key = "", .form = Form::Text, .help = ""};

const KnownSetting& row(const char* key) {
    const KnownSetting* found = find_known(key);
    EXPECT_NE(found, nullptr) << key;
    return found ? *found : no_row;
}

std::vector<const KnownSetting*> all_rows() {
    std::vector<const KnownSetting*> rows;
    for (const SettingGroup& group : setting_groups())
        for (const KnownSetting& setting : group.settings) rows.push_back(&setting);
    return rows;
}

const Field& field(const KnownSetting& setting, std::string_view name) {
    static const Field none = {.name = "", .form = Form::Text};
    if (setting.record)
        for (const Field& field : setting.record->fields)
            if (name == field.name) return field;
    ADD_FAILURE() << setting.key << " has no field " << name;
    return none;
}

// The names and the separators of a shape, in turn: "a:b-c" gives a : b - c.
std::vector<std::string> shape_parts(std::string_view shape) {
    std::vector<std::string> parts;
    bool in_name = false;
    for (const char c : shape) {
        const bool of_name = isalnum(static_cast<unsigned char>(c)) || c == '_';
        if (parts.empty() || of_name != in_name) parts.emplace_back();
        parts.back() += c;
        in_name = of_name;
    }
    return parts;
}

std::vector<std::string> words_of(std::string_view choices) {
    std::vector<std::string> words;
    std::stringstream stream{std::string(choices)};
    for (std::string word; std::getline(stream, word, choice_separator(choices));)
        words.push_back(word);
    return words;
}

bool among(const char* choices, std::string_view value) {
    return std::ranges::count(words_of(choices), value) == 1;
}

bool number_within(std::string_view text, std::int32_t low, std::int32_t high) {
    std::int32_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && low <= number &&
           number <= high;
}

bool is_address(const char* text) {
    in_addr address = {};
    return inet_pton(AF_INET, text, &address) == 1;
}

bool hexadecimal(std::string_view text) {
    return std::ranges::all_of(text, [](unsigned char c) { return isxdigit(c) != 0; });
}

bool is_mac(std::string_view text) {
    if (text.size() != 17) return false;
    for (size_t i = 0; i < text.size(); i++)
        if (i % 3 == 2 ? text[i] != ':' : !hexadecimal(text.substr(i, 1))) return false;
    return true;
}

bool is_netmask(const char* text) {
    in_addr mask = {};
    if (inet_pton(AF_INET, text, &mask) != 1) return false;
    const uint32_t zeros = ~ntohl(mask.s_addr);
    return (zeros & (zeros + 1)) == 0;
}

// Whether a factory value is legal. Those of records are empty.
bool legal(const KnownSetting& setting) {
    const std::string_view value = setting.factory;
    if (value.empty()) return setting.may_be_empty;
    switch (setting.form) {
        case Form::Flag:
            return value == "0" || value == "1";
        case Form::Number:
            return number_within(value, setting.low, setting.high) || among(setting.choices, value);
        case Form::Choice:
            return among(setting.choices, value);
        case Form::Address:
        case Form::Quad:
            return is_address(setting.factory);
        case Form::Netmask:
            return is_netmask(setting.factory);
        case Form::Mac:
            return is_mac(value);
        case Form::Interface:
            return value.size() <= 15;
        case Form::Hex:
            return hexadecimal(value) && static_cast<int>(value.size()) >= setting.low &&
                   static_cast<int>(value.size()) <= setting.high;
        case Form::Text:
            return setting.high == 0 || static_cast<int>(value.size()) <= setting.high;
        case Form::Host:
        case Form::Record:
            return true;
    }
    return false;
}

void expect_number(const Field& field, int low, int high) {
    EXPECT_EQ(field.form, Form::Number) << field.name;
    EXPECT_EQ(field.low, low) << field.name;
    EXPECT_EQ(field.high, high) << field.name;
}

}  // namespace

// Rows that an integrator would look up.

TEST(KnownSettings, APortIsANumberOfSixteenBits) {
    const KnownSetting& port = row("fw_remote_port");
    EXPECT_EQ(port.form, Form::Number);
    EXPECT_EQ(port.low, 1);
    EXPECT_EQ(port.high, 65535);
    EXPECT_FALSE(port.may_be_empty);
    EXPECT_STREQ(port.factory, "8080");
}

TEST(KnownSettings, TheWebPasswordIsSecretAndMayBeEmpty) {
    const KnownSetting& password = row("http_password");
    EXPECT_EQ(password.form, Form::Text);
    EXPECT_TRUE(password.secret);
    EXPECT_TRUE(password.may_be_empty);
    EXPECT_STREQ(password.when_empty, "the web interface asks for no login");
    EXPECT_STREQ(password.factory, "1234");
}

TEST(KnownSettings, TheLan) {
    EXPECT_EQ(row("lan_ipaddr").form, Form::Address);
    EXPECT_STREQ(row("lan_ipaddr").factory, "192.168.1.1");
    EXPECT_EQ(row("lan_netmask").form, Form::Netmask);
    EXPECT_EQ(row("lan_assign_mac").form, Form::Mac);
    EXPECT_EQ(row("lan_if").form, Form::Interface);
    // Only the firewall distinguishes an absent interface from an empty one.
    EXPECT_TRUE(std::string_view(row("lan_if").when_absent).starts_with("the firewall uses br0"));
    EXPECT_EQ(std::string_view(row("lan_if").when_empty).find("br0"), std::string_view::npos);
}

TEST(KnownSettings, LeaseTimesAreInDaysAndFitThirtyTwoBitsOfSeconds) {
    const KnownSetting& days = row("lan_lease_time");
    EXPECT_EQ(days.form, Form::Number);
    EXPECT_EQ(days.low, 1);
    EXPECT_EQ(days.high, 49710);
    EXPECT_LE(days.high * 86400LL, 0xffffffffLL);
    EXPECT_GT((days.high + 1) * 86400LL, 0xffffffffLL);
}

TEST(KnownSettings, WordsOfChoices) {
    const struct {
        const char* key;
        const char* words;
    } rows[] = {
        {"rt_rip_direction", "0 i o b"},
        {"rt_rip_version", "1 2 2B"},
        {"dhcp_server_extended_option", "enable disable"},
        {"wireless_sch_en", "enable disable"},
        {"log_type", "0 1 2"},
        {"mail_sendlog", "0 1 2 3 4"},
        {"fw_remote_type", "1 2 3"},
        {"fw_ttl", "0 1 2 3 4"},
        {"fw_block", "0 1 2"},
        {"ac_control", "0 1 2"},
        {"ac_sch", "0 1"},
        {"qos_type", "priority bandwidth"},
    };
    for (const auto& expected : rows) {
        EXPECT_EQ(row(expected.key).form, Form::Choice) << expected.key;
        EXPECT_STREQ(row(expected.key).choices, expected.words);
    }
}

TEST(KnownSettings, ZonesAreThoseOfTheTableOfZones) {
    std::vector<std::string> keys;
    for (const TimeZone& zone : aTimeZoneTable) keys.emplace_back(zone.key);
    EXPECT_EQ(words_of(row("fw_time_zone").choices), keys);
}

TEST(KnownSettings, TextsThatAreCut) {
    EXPECT_EQ(row("device_name").high, 127);
    EXPECT_EQ(row("http_realm").high, 127);
    EXPECT_EQ(row("mail_title").high, 127);
    EXPECT_EQ(row("http_username").high, 0);
}

// An empty "fw_nat" is neither on nor off: the LAN is masqueraded, but hosts of the WAN reach it.
TEST(KnownSettings, TheFirewallMustSayWhetherItIsOn) {
    EXPECT_EQ(row("fw_nat").form, Form::Flag);
    EXPECT_FALSE(row("fw_nat").may_be_empty);
    EXPECT_STREQ(row("fw_nat").when_empty,
                 "addresses are translated, but FORWARD is left open and there is no DMZ");
}

TEST(KnownSettings, ASchedulePeriod) {
    for (const char* key : {"fw_schedule", "fw_schedule2", "wl_schedule"}) {
        const KnownSetting& list = row(key);
        ASSERT_EQ(list.form, Form::Record);
        EXPECT_EQ(list.record->between, '\x01');
        EXPECT_STREQ(list.record->shape, "day:from_hour:from_minute-to_hour:to_minute");
        expect_number(field(list, "day"), 0, 6);
        expect_number(field(list, "from_hour"), 0, 23);
        expect_number(field(list, "from_minute"), 0, 59);
        expect_number(field(list, "to_hour"), 0, 24);
        expect_number(field(list, "to_minute"), 0, 59);
    }
}

TEST(KnownSettings, AnAddressReservation) {
    const KnownSetting& list = row("pcdb_list");
    ASSERT_EQ(list.form, Form::Record);
    EXPECT_EQ(list.record->between, '\x01');
    EXPECT_STREQ(list.record->shape, "host;address;mac");
    EXPECT_EQ(list.record->most, 254u);
    EXPECT_EQ(field(list, "host").high, 15);
    EXPECT_EQ(field(list, "address").form, Form::Address);
    EXPECT_EQ(field(list, "mac").form, Form::Mac);
}

TEST(KnownSettings, StaticRoutesAreSeparatedBySpacesAndOnlyTheFirstCounts) {
    const KnownSetting& list = row("rt_static_route");
    ASSERT_EQ(list.form, Form::Record);
    EXPECT_EQ(list.record->between, ' ');
    EXPECT_STREQ(list.record->shape, "name:destination:netmask:gateway:metric:listed:active");
    EXPECT_EQ(list.record->most, 1u);
    EXPECT_EQ(field(list, "name").high, 29);
    EXPECT_EQ(field(list, "netmask").form, Form::Netmask);
    EXPECT_STREQ(field(list, "active").choices, "0 1");
}

TEST(KnownSettings, PortForwards) {
    const KnownSetting& single = row("fw_in_rules");
    ASSERT_EQ(single.form, Form::Record);
    EXPECT_STREQ(single.record->shape, "name:on:any:outside:inside:protocol:host");
    EXPECT_EQ(single.record->most, 15u);
    EXPECT_STREQ(single.record->counted, "on");
    expect_number(field(single, "outside"), 1, 65535);
    expect_number(field(single, "inside"), 1, 65535);
    EXPECT_STREQ(field(single, "protocol").choices, "tcp udp");
    expect_number(field(single, "host"), 1, 254);

    const KnownSetting& range = row("fw_out_rules");
    ASSERT_EQ(range.form, Form::Record);
    EXPECT_STREQ(range.record->shape, "name:on:any:first:last:protocol:host");
    EXPECT_EQ(range.record->most, 10u);
    EXPECT_STREQ(range.record->counted, "on");
    EXPECT_STREQ(field(range, "protocol").choices, "tcp udp both");
}

TEST(KnownSettings, SpecialApplications) {
    const KnownSetting& list = row("fw_spapp");
    ASSERT_EQ(list.form, Form::Record);
    EXPECT_STREQ(list.record->shape,
                 "index:on:name:trigger_protocol:trigger_first-trigger_last:protocol:first-last");
    expect_number(field(list, "trigger_first"), 1, 65535);
    EXPECT_STREQ(field(list, "protocol").choices, "tcp udp both");
}

TEST(KnownSettings, AccessControl) {
    const KnownSetting& blocked = row("access_control");
    ASSERT_EQ(blocked.form, Form::Record);
    EXPECT_EQ(blocked.record->ignored_prefix, 4u);
    EXPECT_EQ(blocked.record->most, 100u);
    EXPECT_EQ(field(blocked, "service").high, 29);

    for (const char* key : {"fw_services", "fw_services_def"}) {
        const KnownSetting& services = row(key);
        ASSERT_EQ(services.form, Form::Record);
        EXPECT_STREQ(services.record->shape, "name:protocol:first-last");
        EXPECT_EQ(field(services, "name").high, 14);
        EXPECT_STREQ(field(services, "protocol").choices, "tcp udp both any");
    }
    EXPECT_EQ(field(row("access_group"), "mac").form, Form::Mac);
    EXPECT_EQ(field(row("fw_block_keyword"), "keyword").high, 127);
}

TEST(KnownSettings, QosRules) {
    const KnownSetting& rules = row("qos");
    ASSERT_EQ(rules.form, Form::Record);
    EXPECT_EQ(rules.record->between, '\x01');
    EXPECT_EQ(
        shape_parts(rules.record->shape),
        (std::vector<std::string>{"on", "\x02", "direction", "\x02", "name", "\x02", "first_port",
                                  "\x02", "last_port", "\x02", "protocol", "\x02", "first_address",
                                  "\x02", "last_octet", "\x02", "rate", "\x02", "class"}));
    EXPECT_EQ(rules.record->most, 20u);
    EXPECT_EQ(field(rules, "name").high, 20);
    EXPECT_FALSE(field(rules, "name").may_be_empty);
    expect_number(field(rules, "first_port"), 0, 65535);
    EXPECT_EQ(field(rules, "first_address").form, Form::Address);
    EXPECT_STREQ(field(rules, "first_address").choices, "0");
    EXPECT_STREQ(field(rules, "class").choices, "0 1 2 9");
}

// Rules for every row.

TEST(KnownSettings, EveryKeyIsValidAndUnique) {
    std::set<std::string> keys;
    for (const KnownSetting* setting : all_rows()) {
        EXPECT_TRUE(valid_key(setting->key)) << setting->key;
        EXPECT_TRUE(keys.insert(setting->key).second) << setting->key << " stands twice";
        EXPECT_EQ(find_known(setting->key), setting) << setting->key;
    }
    EXPECT_GT(keys.size(), 200u);
    EXPECT_EQ(find_known("no_such_setting"), nullptr);
    EXPECT_EQ(find_known(""), nullptr);
}

TEST(KnownSettings, EveryGroupHasRowsAndAUniqueTitle) {
    std::set<std::string> titles;
    for (const SettingGroup& group : setting_groups()) {
        EXPECT_STRNE(group.title, "");
        EXPECT_FALSE(group.settings.empty()) << group.title;
        EXPECT_TRUE(titles.insert(group.title).second) << group.title;
    }
}

TEST(KnownSettings, EveryRowHasHelpOfOneLine) {
    for (const KnownSetting* setting : all_rows()) {
        const std::string_view help = setting->help;
        EXPECT_GE(help.size(), 5u) << setting->key;
        EXPECT_LE(help.size(), 110u) << setting->key;
        EXPECT_FALSE(help.ends_with('.')) << setting->key;
        EXPECT_EQ(help.find('\n'), help.npos) << setting->key;
    }
}

TEST(KnownSettings, EveryRowSaysWhatAnEmptyValueDoes) {
    for (const KnownSetting* setting : all_rows())
        EXPECT_STRNE(setting->when_empty, "") << setting->key;
}

TEST(KnownSettings, SecretsAreThoseThatAreMasked) {
    for (const KnownSetting* setting : all_rows())
        EXPECT_EQ(setting->secret, is_secret(setting->key)) << setting->key;
}

TEST(KnownSettings, ChoicesHaveWordsAndNumbersARange) {
    const auto check = [](const char* name, const auto& limits) {
        const std::vector<std::string> words = words_of(limits.choices);
        if (limits.form == Form::Choice) {
            EXPECT_FALSE(words.empty()) << name;
        }
        if (limits.form == Form::Number || limits.form == Form::Hex) {
            EXPECT_GE(limits.low, 0) << name;
            EXPECT_GE(limits.high, limits.low) << name;
            EXPECT_GT(limits.high, 0) << name;
        }
        for (const std::string& word : words) {
            EXPECT_NE(word, "") << name;
            EXPECT_EQ(std::ranges::count(words, word), 1) << name << " " << word;
        }
    };
    for (const KnownSetting* setting : all_rows()) {
        check(setting->key, *setting);
        if (!setting->record) continue;
        for (const Field& field : setting->record->fields) check(setting->key, field);
    }
}

TEST(KnownSettings, EveryRecordHasTheFieldsOfItsShape) {
    for (const KnownSetting* setting : all_rows()) {
        ASSERT_EQ(setting->form == Form::Record, setting->record != nullptr) << setting->key;
        if (!setting->record) continue;
        const Record& record = *setting->record;
        std::vector<std::string> names;
        for (const std::string& part : shape_parts(record.shape))
            if (isalnum(static_cast<unsigned char>(part[0]))) names.push_back(part);

        std::vector<std::string> fields;
        for (const Field& field : record.fields) {
            fields.emplace_back(field.name);
            EXPECT_NE(field.form, Form::Record) << setting->key;
        }
        EXPECT_EQ(names, fields) << setting->key;
        EXPECT_EQ(std::set(fields.begin(), fields.end()).size(), fields.size()) << setting->key;
        if (record.between != '\0') {
            EXPECT_EQ(std::string_view(record.shape).find(record.between), std::string_view::npos)
                << setting->key;
        }
        if (*record.counted) {
            EXPECT_TRUE(among(field(*setting, record.counted).choices, "1")) << setting->key;
        }
    }
}

// The factory settings.

TEST(KnownSettings, EveryFactoryValueIsLegal) {
    for (const KnownSetting* setting : all_rows())
        EXPECT_TRUE(legal(*setting)) << setting->key << "=" << setting->factory;
}

TEST(KnownSettings, TheFactorySettingsMatchTheTable) {
    std::ifstream file(FACTORY_SETTINGS);
    ASSERT_TRUE(file) << FACTORY_SETTINGS;
    std::stringstream text;
    text << file.rdbuf();
    std::vector<BadLine> bad_lines;
    const Image factory(text.str(), &bad_lines);
    EXPECT_TRUE(bad_lines.empty());

    std::vector<std::string> image;
    for (const Entry& entry : factory.entries())
        image.push_back(std::string(entry.key) + "=" + std::string(entry.value));
    std::vector<std::string> table;
    for (const KnownSetting* setting : all_rows())
        table.push_back(std::string(setting->key) + "=" + setting->factory);
    std::ranges::sort(image);
    std::ranges::sort(table);

    std::vector<std::string> only_there;
    std::ranges::set_difference(image, table, std::back_inserter(only_there));
    EXPECT_EQ(only_there, std::vector<std::string>{}) << "in the factory settings only";
    only_there.clear();
    std::ranges::set_difference(table, image, std::back_inserter(only_there));
    EXPECT_EQ(only_there, std::vector<std::string>{}) << "in the table only";
}
