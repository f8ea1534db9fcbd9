// Time and schedules: daylight saving, weekly periods, the crontab.
#ifndef RC_SCHED_SCHED_H
#define RC_SCHED_SCHED_H

#include <optional>
#include <string_view>

#include "core/file.h"

// daylight_saving.cc

// 1 when daylight saving is in force now in the zone of "fw_time_zone", else 0.
int daylight_saving_new();

// The minutes that an offset text such as "GMT-3:30" or "GMT+5 b" stands for; its first three
// characters are not looked at. 0 with a message when no sign follows them.
int time_adjust_new(const char* offset);

// The day of the month of the week-th, or with the last flag the last, weekday (1: Monday) of a
// month (1: January). The year counts from 1900. Right for 2000 (from March) to 2099.
int dst_day_of_month(int year, int month, int weekday, int week, int last);

// schedule.cc

// One weekly period: "day:hour:minute-hour:minute", day 0 being Sunday.
struct SchedulePeriod {
    std::string_view day_text;
    int day;
    int start_hour;
    int start_minute;
    int end_hour;
    int end_minute;
};

// Nothing when the record does not read whole. The text must live as long as the result.
std::optional<SchedulePeriod> parse_period(std::string_view record);

// Takes the next record off a list; records end at a byte below 2.
std::string_view take_record(std::string_view& list);

// 1 while a period of the firewall's schedules is open, else 0.
int check_sche();
// Leaves that answer in /tmp/cron_schedule. Always 0.
int start_schedule();

// crontab.cc: writes /var/crontab. Always 0.
int create_crontab();
// Writes the two lines of one record for "firewall" or "wlan".
void create_schedule(const char* app, std::string_view record, File& crontab);

#endif
