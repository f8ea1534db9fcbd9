// Weekly periods: the records of "fw_schedule", "fw_schedule2" and "wl_schedule".

#include "sched/periods.h"

#include <string>

#include "core/text.h"

std::string_view take_record(std::string_view& list) {
    return take_field(list, '\x01');
}

std::optional<SchedulePeriod> parse_period(std::string_view record) {
    const std::string copy(record);
    const char* text = copy.c_str();
    SchedulePeriod period = {};
    if (!scan_int(text, ':', period.day) || !scan_int(text, ':', period.start_hour) ||
        !scan_int(text, '-', period.start_minute) || !scan_int(text, ':', period.end_hour) ||
        !scan_int(text, '\0', period.end_minute))
        return std::nullopt;
    period.day_text = record.substr(0, record.find(':'));
    return period;
}
