// Weekly periods, as the schedules' records hold them.
#ifndef RC_SCHED_PERIODS_H
#define RC_SCHED_PERIODS_H

#include <optional>
#include <string_view>

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

#endif
