// Time zones, daylight saving and schedules.

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <chrono>

#include "recorded.h"
#include "sched/sched.h"
#include "sched/time_zones.h"

namespace {

struct KeyedRule {
    const char* key;
    int32_t rule;
};
constexpr KeyedRule zone_rules[] = {
    {"-12", 17},   {"-11", 17},   {"-10", 17},  {"-9", 14},    {"-8", 14},    {"-7a", 17},
    {"-7 2", 9},   {"-7b", 14},   {"-6 1", 17}, {"-6a", 14},   {"-6b", 9},    {"-6c", 17},
    {"-5a", 17},   {"-5b", 14},   {"-5c", 17},  {"-4a", 14},   {"-4b", 17},   {"-4c", 12},
    {"-3:30", 11}, {"-3b", 3},    {"-3c", 17},  {"-3 3", 9},   {"-2", 8},     {"-1", 2},
    {"-1 2", 17},  {"GMTa", 17},  {"GMTb", 16}, {"+1a", 2},    {"+1b", 2},    {"+1c", 2},
    {"+1d", 2},    {"+1e", 17},   {"+2a", 4},   {"+2b", 4},    {"+2c", 5},    {"+2d", 17},
    {"+2e", 4},    {"+2f", 7},    {"+3a", 6},   {"+3 2", 17},  {"+3b", 2},    {"+3c", 17},
    {"+3:30", 17}, {"+4a", 17},   {"+4b", 17},  {"+4:30", 17}, {"+5a", 2},    {"+5b", 17},
    {"+5 a1", 17}, {"+5 a2", 17}, {"+5 b", 17}, {"+6a", 2},    {"+6 2", 17},  {"+6 a", 17},
    {"+7", 17},    {"+7 2", 2},   {"+8a", 17},  {"+8 2", 2},   {"+8c", 17},   {"+8b", 15},
    {"+8d", 17},   {"+9a", 17},   {"+9b", 17},  {"+9c", 2},    {"+9:30a", 1}, {"+9:30b", 17},
    {"+10a", 17},  {"+10b", 0},   {"+10c", 17}, {"+10d", 13},  {"+10e", 2},   {"+11", 17},
    {"+12a", 10},  {"+12 2", 17}, {"+13", 17},
};

class SchedTest : public RecordedTest {
  protected:
    void set_clock(long long seconds) { played_.world.clock_microseconds = seconds * 1'000'000; }
};

long long utc(int year, int month, int day, int hour, int minute) {
    tm point = {};
    point.tm_year = year - 1900;
    point.tm_mon = month - 1;
    point.tm_mday = day;
    point.tm_hour = hour;
    point.tm_min = minute;
    return timegm(&point);
}

std::chrono::year_month month_of(int year, int month) {
    return std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month));
}

// Uses the C++ library's calendar, because a 32-bit time_t ends in 2038. 1 for Monday to 7 for
// Sunday.
int weekday_by_library(int year, int month, int day) {
    const std::chrono::sys_days date = month_of(year, month) / day;
    return static_cast<int>(std::chrono::weekday(date).iso_encoding());
}

int days_in_month(int year, int month) {
    const std::chrono::year_month_day last_day =
        std::chrono::sys_days(month_of(year, month) / std::chrono::last);
    return static_cast<int>(static_cast<unsigned>(last_day.day()));
}

// Found by checking every day of the month.
int day_by_calendar(int year, int month, int weekday, int week, bool last) {
    int found = 0;
    int count = 0;
    for (int day = 1; day <= days_in_month(year, month); day++) {
        if (weekday_by_library(year, month, day) != weekday) continue;
        found = day;
        if (!last && ++count == week) break;
    }
    return found;
}

TEST(TimeZones, EveryKeyHasItsRule) {
    ASSERT_EQ(std::size(zone_rules), time_zone_count);
    for (size_t i = 0; i < time_zone_count; i++) {
        EXPECT_STREQ(aTimeZoneTable[i].key, zone_rules[i].key);
        EXPECT_EQ(aTimeZoneTable[i].rule, zone_rules[i].rule) << zone_rules[i].key;
    }
}

// The label begins with the key's offset.
TEST(TimeZones, LabelsAgreeWithKeys) {
    for (const TimeZone& zone : aTimeZoneTable) {
        const std::string label = zone.label;
        ASSERT_TRUE(label.starts_with("(GMT")) << label;
        const int label_hours = label[4] == ')' ? 0 : atoi(label.c_str() + 4);
        const int key_hours = strncmp(zone.key, "GMT", 3) == 0 ? 0 : atoi(zone.key);
        EXPECT_EQ(label_hours, key_hours) << label;
        for (const TimeZone& other : aTimeZoneTable)
            EXPECT_TRUE(&other == &zone || strcmp(other.key, zone.key) != 0) << zone.key;
    }
}

TEST_F(SchedTest, OffsetsInMinutes) {
    struct Row {
        const char* offset;
        int minutes;
    };
    for (const Row& row : {
             Row{"GMT+5 b", 345},   Row{"GMT+5 a1", 330},
             Row{"GMT+5 a2", 330},  Row{"GMT+6 a", 390},
             Row{"GMT-7 2", -420},  Row{"GMT-3:30", -180},
             Row{"GMT+9:30a", 540}, Row{"GMT-3 3", -180},
             Row{"GMT+0", 0},       Row{"GMT+", 0},
             Row{"GMT-", 0},        Row{"GMT+5 b1", 330},
             Row{"GMT+5 b2", 330},  Row{"GMT+5 zz", 300},
             Row{"GMT+5 ", 300},    Row{"GMT+5 a ", 300},
             Row{"GMT-5 b", -345},  Row{"xyz+1a", 60},
             Row{"GMT+13", 780},    Row{"GMT+99999999999999999999", 599999940},
             Row{"GMT+-1", -60},
         })
        EXPECT_EQ(time_adjust_new(row.offset), row.minutes) << row.offset;
    EXPECT_EQ(transcript(), "");
}

TEST_F(SchedTest, AnOffsetWithoutASignIsAnError) {
    for (const char* offset : {"", "GMT", "GMT5", "G+1", "UTC 1"}) {
        played_.transcript = Transcript();
        EXPECT_EQ(time_adjust_new(offset), 0) << offset;
        EXPECT_EQ(transcript(), "print  TimeZone string Error\n");
    }
}

TEST(DaylightSaving, DaysOfTheMonthAgreeWithTheCalendar) {
    for (int year = 2000; year <= 2099; year++) {
        for (const auto& rule : aDstTable) {
            for (const int32_t* edge : {rule + dst_start, rule + dst_end}) {
                const int month = edge[edge_month];
                // The formula counts January and February 2000 to the previous century.
                if (year == 2000 && month <= 2) continue;
                const bool last = edge[edge_week] == 4;
                EXPECT_EQ(dst_day_of_month(year - 1900, month, edge[edge_weekday], edge[edge_week],
                                           last ? 1 : 0),
                          day_by_calendar(year, month, edge[edge_weekday], edge[edge_week], last))
                    << year << " rule " << rule[dst_rule];
            }
        }
    }
}

// The formula counts January and February to the previous year, which for 2000 is in another
// century: the last Sunday of February 2000 was the 27th.
TEST(DaylightSaving, FebruaryOf2000DiffersFromTheCalendar) {
    EXPECT_EQ(dst_day_of_month(100, 2, 7, 4, 1), 28);
    EXPECT_EQ(day_by_calendar(2000, 2, 7, 4, true), 27);
}

TEST(DaylightSaving, EveryWeekdayOfEveryMonthAgrees) {
    for (int year = 2000; year <= 2099; year++)
        for (int month = 1; month <= 12; month++) {
            if (year == 2000 && month <= 2) continue;
            for (int weekday = 1; weekday <= 7; weekday++) {
                for (int week = 1; week <= 3; week++)
                    EXPECT_EQ(dst_day_of_month(year - 1900, month, weekday, week, 0),
                              day_by_calendar(year, month, weekday, week, false));
                EXPECT_EQ(dst_day_of_month(year - 1900, month, weekday, 4, 1),
                          day_by_calendar(year, month, weekday, 4, true));
            }
        }
}

// A zone key that has the rule.
const char* zone_with(int32_t rule) {
    for (const KeyedRule& zone : zone_rules)
        if (zone.rule == rule) return zone.key;
    return nullptr;
}

TEST_F(SchedTest, EachRuleStartsAndEndsAtItsEdges) {
    constexpr int year = 2025;
    for (const auto& rule : aDstTable) {
        ASSERT_TRUE(zone_with(rule[dst_rule])) << rule[dst_rule];
        set({{"fw_time_zone", zone_with(rule[dst_rule])}, {"time_zone", "GMT+0"}});
        const auto moment = [&](const int32_t* edge) {
            const bool last = edge[edge_week] == 4;
            const int day =
                day_by_calendar(year, edge[edge_month], edge[edge_weekday], edge[edge_week], last);
            return utc(year, edge[edge_month], day, edge[edge_hour], edge[edge_minute]);
        };
        const long long start = moment(rule + dst_start);
        const long long end = moment(rule + dst_end);
        struct Row {
            long long clock;
            int in_force;
        };
        for (const Row& row : {
                 Row{start - 1, 0},
                 Row{start, 1},
                 Row{start + 1, 1},
                 Row{end - 1, 1},
                 Row{end, 1},
                 Row{end + 1, 0},
             }) {
            set_clock(row.clock);
            EXPECT_EQ(daylight_saving_new(), row.in_force) << rule[dst_rule] << " " << row.clock;
        }
    }
}

TEST_F(SchedTest, EveryZoneIsInSummerOrNot) {
    for (const KeyedRule& zone : zone_rules) {
        set({{"fw_time_zone", zone.key}, {"time_zone", "GMT+0"}});
        // South of the equator summer and winter are swapped.
        const bool south = zone.rule == 0 || zone.rule == 1 || zone.rule == 3 || zone.rule == 10 ||
                           zone.rule == 12 || zone.rule == 13;
        const int none = zone.rule == no_dst ? 0 : 1;
        set_clock(utc(2024, 7, 1, 12, 0));
        EXPECT_EQ(daylight_saving_new(), south ? 0 : none) << zone.key;
        set_clock(utc(2024, 1, 15, 12, 0));
        EXPECT_EQ(daylight_saving_new(), south ? none : 0) << zone.key;
    }
    set({{"fw_time_zone", "+99"}, {"time_zone", "GMT+0"}});
    EXPECT_EQ(daylight_saving_new(), 0);
    EXPECT_EQ(transcript(), "");
}

// West of Greenwich, the local time of a router without the time is before 1970.
TEST_F(SchedTest, ThereIsNoSummerBefore1970) {
    set({{"fw_time_zone", "-3b"}, {"time_zone", "GMT-3"}});
    set_clock(100);
    EXPECT_EQ(daylight_saving_new(), 0);
    // The summer that began in November 1970.
    set_clock(utc(1970, 12, 31, 0, 0));
    EXPECT_EQ(daylight_saving_new(), 1);
}

TEST(Schedules, ValidAndInvalidRecords) {
    struct Row {
        const char* record;
        bool whole;
    };
    for (const Row& row : {
             Row{"1:8:30-17:0", true},
             Row{"0:0:0-24:0", true},
             Row{" 1: 8: 30- 17: 0", true},
             Row{"1:8:30-17:0x", true},
             Row{"-1:8:30-17:0", true},
             Row{"", false},
             Row{"1", false},
             Row{"1:8:30-17", false},
             Row{"1:8:30-17:", false},
             Row{"1:8:30:17:0", false},
             Row{"a:8:30-17:0", false},
             Row{"1 :8:30-17:0", false},
             Row{"1:8-17:0", false},

             Row{"1::30-17:0", false},
         })
        EXPECT_EQ(parse_period(row.record).has_value(), row.whole) << row.record;

    const auto period = parse_period("06:8:30-17:5");
    ASSERT_TRUE(period);
    EXPECT_EQ(period->day_text, "06");
    EXPECT_EQ(period->day, 6);
    EXPECT_EQ(period->start_hour, 8);
    EXPECT_EQ(period->start_minute, 30);
    EXPECT_EQ(period->end_hour, 17);
    EXPECT_EQ(period->end_minute, 5);
}

TEST_F(SchedTest, CrontabLinesOfOneRecord) {
    struct Row {
        const char* app;
        const char* record;
        const char* lines;
    };
    for (const Row& row : {
             Row{"firewall", "1:8:30-17:0",
                 "30 8 * * 1 root /usr/sbin/rc firewall start\n"
                 "0 17 * * 1 root /usr/sbin/rc firewall start\n"},
             Row{"firewall", "3:0:0-24:0",
                 "0 0 * * 3 root /usr/sbin/rc firewall start\n"
                 "0 24 * * 3 root /usr/sbin/rc firewall start\n"},
             Row{"wlan", "1:8:30-24:0",
                 "30 8 * * 1 root /usr/sbin/rc wlan restart\n"
                 "59 23 * * 1 root /usr/sbin/rc wlan stop\n"},
             Row{"wlan", "2:0:0-0:0",
                 "0 0 * * 2 root /usr/sbin/rc wlan stop\n"
                 "0 0 * * 2 root /usr/sbin/rc wlan stop\n"},
             Row{"other", "2:0:0-0:0",
                 "0 0 * * 2 root /usr/sbin/rc other start\n"
                 "0 0 * * 2 root /usr/sbin/rc other stop\n"},
             Row{"wlan", "", ""},
             Row{"wlan", "1:8:30", ""},
         }) {
        File file = open_file("/lines", "w");
        create_schedule(row.app, row.record, file);
        { const File closed = std::move(file); }
        EXPECT_EQ(*played_.world.get("/lines"), row.lines);
    }
}

}  // namespace
