// Daylight saving: whether it is in force now.

#include <time.h>

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "sched/sched.h"
#include "sched/time_zones.h"
#include "sched/zone_offset.h"

namespace {

// Indexed by the formula's months: March is 3, the next year's January and February are 13 and 14.
constexpr int month_days[] = {0, 0, 0, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31, 31, 28};

constexpr int last_week = 4;

bool leap_year(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// 1 for Monday to 7 for Sunday.
int weekday_of(int days) {
    const int weekday = (days % 7 + 7) % 7;
    return weekday == 0 ? 7 : weekday;
}

const int32_t* find_rule(std::string_view zone_key) {
    for (const TimeZone& zone : aTimeZoneTable) {
        if (zone_key != zone.key) continue;
        // No rule has the number no_dst.
        for (const auto& rule : aDstTable)
            if (rule[dst_rule] == zone.rule) return rule;
    }
    return nullptr;
}

// The moment at which summer time starts or ends in a year; nullopt if the week is invalid.
std::optional<tm> edge_point(const int32_t* edge, int year) {
    const int week = edge[edge_week];
    if (week < 1 || week > last_week) return std::nullopt;
    tm point = {};
    point.tm_min = edge[edge_minute];
    point.tm_hour = edge[edge_hour];
    point.tm_year = year;
    point.tm_mday = dst_day_of_month(year, edge[edge_month], edge[edge_weekday], week,
                                     week == last_week ? 1 : 0);
    point.tm_mon = edge[edge_month] - 1;
    return point;
}

}  // namespace

int time_adjust_new(const char* offset) {
    const std::optional<int> minutes = offset_minutes(offset);
    if (!minutes) print_line("TimeZone string Error");
    return minutes.value_or(0);
}

// A form of Zeller's congruence for one century, in which a year begins in March.
int dst_day_of_month(int year, int month, int weekday, int week, int last) {
    if (month <= 2) {
        month += 12;
        year--;
    }
    const int m13 = (26 * month + 26) / 10;
    const int in_century = year - 100 * (year / 100);
    const int first = in_century + in_century / 4 - 35 + m13;

    if (last == 0) {
        const int first_weekday = weekday_of(first);
        debug_show("1st day of %d-%d : %d\n\n", month, in_century, first_weekday);
        const int offset = weekday < first_weekday ? 1 : -6;
        return weekday - first_weekday + 7 * week + offset;
    }
    int days = month_days[month];
    // The leap year is computed a century too late, which matters only for 2000.
    if (month == 14 && leap_year(year + 2000 + 1)) days++;
    const int last_weekday = weekday_of(first + days - 1);
    debug_show("%dst day of %d-%d : %d\n\n", days, month, in_century, last_weekday);
    return days + weekday - last_weekday - (last_weekday < weekday ? 7 : 0);
}

int daylight_saving_new() {
    const Setting zone = nvram_text("fw_time_zone");
    const Setting offset = nvram_text("time_zone");
    const long long now = platform::current_time() + time_adjust_new(offset.text()) * 60LL;

    const int32_t* rule = find_rule(zone.view());
    if (!rule) return 0;
    const int year = platform::local_time(now).tm_year;
    const std::optional<tm> start_point = edge_point(rule + dst_start, year);
    if (!start_point) return 0;
    debug_show("StartTimePoint day: %d\n\n", start_point->tm_mday);
    const long long start = platform::time_of_local(*start_point);
    if (start == -1) return 0;

    const std::optional<tm> end_point = edge_point(rule + dst_end, year);
    if (!end_point) return 0;
    debug_show("EndTimePoint day: %d\n\n", end_point->tm_mday);
    const long long end = platform::time_of_local(*end_point);
    if (end == -1) return 0;
    debug_show("iStart GMT : %lld\n", start);
    debug_show("iTimeNow   : %lld\n", now);
    debug_show("iEnd GMT   : %lld\n", end);
    if (start < 0 || end < 0 || start == end) return 0;

    const bool in_force = start < end ? start <= now && now <= end : now <= end || now >= start;
    debug_show("\niDstFlag : %d\n", in_force);
    return in_force ? 1 : 0;
}
