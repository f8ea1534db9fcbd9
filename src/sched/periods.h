// Weekly periods: the records of schedules.
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

// nullopt if the record is incomplete or invalid. The text must live as long as the result.
std::optional<SchedulePeriod> parse_period(std::string_view record);

// Consumes one record, terminated by \x01 or the end of the list.
std::string_view take_record(std::string_view& list);

#endif
