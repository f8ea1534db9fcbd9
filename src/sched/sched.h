// Time and schedules: daylight saving, weekly periods, the crontab.
#ifndef RC_SCHED_SCHED_H
#define RC_SCHED_SCHED_H

#include <string_view>

#include "core/file.h"
#include "sched/periods.h"

// daylight_saving.cc

// 1 if daylight saving is in force now in the zone of "fw_time_zone", else 0.
int daylight_saving_new();

// The minutes of an offset text (time_zones.h). 0 with a message if it has no sign.
int time_adjust_new(const char* offset);

// The day of the month of the week-th, or with the last flag the last, weekday (1: Monday) of a
// month (1: January). The year counts from 1900. Correct from March 2000 to 2099.
int dst_day_of_month(int year, int month, int weekday, int week, int last);

// schedule.cc

// 1 while a period of the firewall's schedules is open, else 0.
int check_sche();
// Writes that result to /tmp/cron_schedule. Always 0.
int start_schedule();
// The first character of /tmp/cron_schedule, '\0' if it is missing or empty.
char schedule_character();

// crontab.cc: writes /var/crontab. Always 0.
int create_crontab();
// Writes the two lines of one record for "firewall" or "wlan".
void create_schedule(const char* app, std::string_view record, File& crontab);

#endif
