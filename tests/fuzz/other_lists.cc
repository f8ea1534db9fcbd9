// Properties of numbers, fields and escapes, of routes, schedules and the radio's lists.

#include <limits.h>
#include <stdlib.h>

#include <algorithm>

#include "core/text.h"
#include "core/unused.h"
#include "expect.h"
#include "lan/routes.h"
#include "lan/unused.h"
#include "lists.h"
#include "sched/periods.h"
#include "sched/zone_offset.h"
#include "settings/forms.h"
#include "settings/records.h"
#include "settings/table.h"
#include "wan/ppp_secrets.h"
#include "wireless/wireless.h"

namespace {

// The text without the backslash that was put before each of some characters.
std::string unescaped(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '\\' && i + 1 < text.size()) i++;
        plain += text[i];
    }
    return plain;
}

void expect_record(const nvram::KnownSetting& known, const std::string& text) {
    const nvram::Record& record = *known.record;
    for (const std::string_view entry : nvram::split_records(record, text)) {
        expect(lies_in(entry, text), "a record is a part of the value");
        expect(!record.between || entry.find(record.between) == entry.npos,
               "no record contains the separator");
        const std::vector<std::string_view> fields = nvram::split_fields(record, entry);
        expect(fields.size() <= record.fields.size(), "no more fields than the shape has");
        for (const std::string_view field : fields)
            expect(lies_in(field, entry), "a field is a part of its record");
    }
    for (const nvram::Piece& piece : nvram::pieces_of(known, text))
        expect(lies_in(piece.text, text), "a piece is a part of the value");
}

}  // namespace

void expect_numbers(const std::string& text) {
    const std::optional<long long> scanned = scan_number(text.c_str());
    const int leading = leading_int(text);
    if (scanned)
        expect(leading == std::clamp<long long>(*scanned, INT_MIN, INT_MAX),
               "a number that is too large is clamped");
    std::string_view rest = text;
    int number = 0;
    if (scan_int(rest, '\0', number)) {
        expect(number == leading, "both functions read the same number");
        expect(rest.size() < text.size() && text.ends_with(rest),
               "the rest is the end of the text");
    } else {
        expect(leading == 0, "without a number the result is 0");
    }
    if (const std::optional<long long> plain = nvram::plain_number(text))
        expect(scanned && *scanned == *plain, "both functions accept a plain number");
}

void expect_fields(const std::string& text) {
    std::string joined;
    size_t fields = 0;
    for (std::string_view rest = text; !rest.empty(); fields++) {
        const size_t before = rest.size();
        const std::string_view field = take_field(rest, '\x01');
        expect(rest.size() < before, "a walk over fields ends");
        joined += field;
        if (field.size() < before) joined += '\x01';
    }
    expect(joined == text, "the fields and their separators are the text");

    std::string copy;
    strccpy(copy, text.c_str(), ':');
    std::string_view rest = text;
    expect(copy == take_field(rest, ':'), "both functions read the same field");
}

void expect_escapes(const std::string& text) {
    std::string escaped(2 * text.size() + 1, 'x');
    const char* end = add_prefix_slash(text.c_str(), escaped.data());
    expect(end <= escaped.data() + 2 * text.size(), "a buffer of twice the size is enough");
    escaped.resize(static_cast<size_t>(end - escaped.data()));
    expect(unescaped(percent_collapsed(escaped)) == text,
           "an account is unchanged after unescaping");

    std::string quoted;
    ConertSpecialChar(text.c_str(), quoted, "`\"\\");
    expect(unescaped(quoted) == text, "a phrase is unchanged after unescaping");
}

void expect_route(const std::string& text) {
    const int length = mask_length(text.c_str());
    expect(length >= 0 && length <= 31, "a mask's length");
    const std::string network = network_text(text, text);
    expect(network.size() <= std::max<size_t>(text.size(), 4 * 11 + 3), "a network's length");

    const std::optional<StaticRoute> route = parse_route(text);
    if (!route) return;
    expect(!route->name.empty() && route->name.size() <= 29, "a route's name");
    expect(!route->destination.empty() && !route->netmask.empty() && !route->gateway.empty(),
           "a route's addresses");
    const std::string record = route->name + ":" + route->destination + ":" + route->netmask + ":" +
                               route->gateway + ":" + std::to_string(route->metric) + ":" +
                               std::to_string(route->listed) + ":" + std::to_string(route->active);
    const std::optional<StaticRoute> again = parse_route(record);
    expect(again && again->name == route->name && again->destination == route->destination &&
               again->netmask == route->netmask && again->gateway == route->gateway &&
               again->metric == route->metric && again->listed == route->listed &&
               again->active == route->active,
           "a route is unchanged after writing and reading");
    const std::string once = network_text(route->destination, route->netmask);
    expect(network_text(once, route->netmask) == once, "a network's network is itself");
}

void expect_schedule(const std::string& text) {
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view record = take_record(rest);
        const std::optional<SchedulePeriod> period = parse_period(record);
        if (!period) continue;
        expect(lies_in(period->day_text, record), "the day is a part of the record");
        expect(leading_int(period->day_text) == period->day, "the day's text");
        const std::string written =
            format("%d:%d:%d-%d:%d", period->day, period->start_hour, period->start_minute,
                   period->end_hour, period->end_minute);
        const std::optional<SchedulePeriod> again = parse_period(written);
        expect(again && again->day == period->day && again->start_hour == period->start_hour &&
                   again->start_minute == period->start_minute &&
                   again->end_hour == period->end_hour && again->end_minute == period->end_minute,
               "a period is unchanged after writing and reading");
    }
    const std::optional<int> minutes = offset_minutes(text);
    const bool has_sign = text.size() > 3 && (text[3] == '+' || text[3] == '-');
    expect(minutes.has_value() == has_sign, "an offset has a sign");
    if (!minutes) return;
    std::string other = text;
    other[3] = text[3] == '+' ? '-' : '+';
    expect(offset_minutes(other) == -*minutes, "the opposite sign gives the opposite offset");
}

void expect_wireless_lists(const std::string& text) {
    constexpr size_t entry = 17;
    const std::string list = joined_access_list(text);
    expect(list.size() <= 1023, "a list is within the driver's limit");
    expect(list.empty() || (list.size() + 1) % (entry + 1) == 0, "whole entries");
    for (size_t at = entry; at < list.size(); at += entry + 1)
        expect(list[at] == ';', "a separator between entries");
}

void expect_shapes(const std::string& text) {
    // Each input tests one setting, chosen by the first byte and the length, so that all get a
    // share.
    size_t chosen = text.empty() ? 0 : static_cast<unsigned char>(text[0]) + text.size();
    for (const nvram::SettingGroup& group : nvram::setting_groups()) {
        if (chosen >= group.settings.size()) {
            chosen -= group.settings.size();
            continue;
        }
        const nvram::KnownSetting& known = group.settings[chosen];
        if (known.record) expect_record(known, text);
        if (!text.empty()) nvram::form_problem(nvram::limits_of(known), text);
        expect(nvram::edit_distance(known.key, text, 3) == nvram::edit_distance(text, known.key, 3),
               "a distance is symmetric");
        return;
    }
}
