// Weekly periods: the records of "fw_schedule", "fw_schedule2" and "wl_schedule".

#include "sched/periods.h"

#include "core/text.h"

std::string_view take_record(std::string_view& list) {
    return take_field(list, '\x01');
}

std::optional<SchedulePeriod> parse_period(std::string_view record) {
    SchedulePeriod period = {};
    period.day_text = record.substr(0, record.find(':'));
    if (!scan_int(record, ':', period.day) || !scan_int(record, ':', period.start_hour) ||
        !scan_int(record, '-', period.start_minute) || !scan_int(record, ':', period.end_hour) ||
        !scan_int(record, '\0', period.end_minute))
        return std::nullopt;
    return period;
}
