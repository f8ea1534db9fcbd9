// Weekly schedules: periods that never apply, or apply differently than they look.
#include "check/check_parts.h"
#include "sched/periods.h"
#include "settings/records.h"

namespace nvram {

namespace {

constexpr const char* days[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                "Thursday", "Friday", "Saturday"};
constexpr int minutes_of_day = 24 * 60;

struct Period {
    unsigned entry;
    int day;
    int start;  // minutes of the day
    int end;
};

bool is_within(int number, int most) {
    return number >= 0 && number <= most;
}

bool is_sound(const SchedulePeriod& period) {
    return is_within(period.day, 6) && is_within(period.start_hour, 23) &&
           is_within(period.start_minute, 59) && is_within(period.end_hour, 24) &&
           is_within(period.end_minute, 59);
}

// The periods that rc can read and that are valid times; the check of forms finds the others.
std::vector<Period> periods_in(std::string_view list) {
    std::vector<Period> periods;
    for (unsigned entry = 1; !list.empty(); ++entry) {
        const std::optional<SchedulePeriod> period = parse_period(take_record(list));
        if (!period || !is_sound(*period)) continue;
        periods.push_back({.entry = entry,
                           .day = period->day,
                           .start = period->start_hour * 60 + period->start_minute,
                           .end = period->end_hour * 60 + period->end_minute});
    }
    return periods;
}

std::string time_text(int minutes) {
    const int minute = minutes % 60;
    return std::to_string(minutes / 60) + (minute < 10 ? ":0" : ":") + std::to_string(minute);
}

std::string record_text(const Period& period) {
    return std::to_string(period.day) + ":" + std::to_string(period.start / 60) + ":" +
           std::to_string(period.start % 60) + "-" + std::to_string(period.end / 60) + ":" +
           std::to_string(period.end % 60);
}

std::string place_of(const Period& period) {
    return place_text(period.entry, nullptr);
}

bool has_same(const std::vector<Period>& periods, const Period& period) {
    for (const Period& other : periods)
        if (other.day == period.day && other.start == period.start && other.end == period.end)
            return true;
    return false;
}

// A firewall's list; of a period past midnight the first list serves the part after midnight, the
// second the part before, both on the record's own day.
struct List {
    const char* key;
    const char* other_key;
    bool first;
};

void check_times(Check& check, const List& list, const Period& period,
                 const std::vector<Period>& others) {
    const std::string times =
        place_of(period) + ", from " + time_text(period.start) + " to " + time_text(period.end);
    const bool never =
        period.start == period.end || (list.first && period.start > period.end && period.end == 0);
    if (never) {
        add(check, Level::Error, list.key,
            {.problem = times + ", never applies",
             .effect = "finds no minute in it",
             .fix = "an end after the start"});
        return;
    }
    if (period.start < period.end || has_same(others, period)) return;
    const std::string part = list.first
                                 ? "from 0:00 to " + time_text(period.end)
                                 : "from " + time_text(period.start) + " to the end of the day";
    add(check, Level::Warning, list.key,
        {.problem = times + ", goes past midnight, but " + list.other_key + " has no such entry",
         .effect = "applies it on " + std::string(days[period.day]) + " " + part + " only",
         .fix = "the entry " + record_text(period) + " in " + list.other_key + " too"});
}

void check_list(Check& check, const List& list) {
    const std::vector<Period> periods = periods_in(text_of(check, list.key));
    const std::vector<Period> others = periods_in(text_of(check, list.other_key));
    bool seen[7] = {};
    for (const Period& period : periods) {
        if (seen[period.day]) {
            add(check, Level::Warning, list.key,
                {.problem = place_of(period) + " is another one for " + days[period.day],
                 .effect = "uses only the first of a day",
                 .fix = std::string("one entry per day; ") + list.other_key + " can hold another"});
            continue;
        }
        seen[period.day] = true;
        check_times(check, list, period, others);
        if (period.end >= minutes_of_day)
            add(check, Level::Note, list.key,
                {.problem = place_of(period) + " ends at " + time_text(period.end),
                 .effect =
                     "writes hour 24 into the crontab, which never comes: rules stay until the"
                     " next start or end of a period",
                 .fix = "an end at 23:59"});
    }
}

void check_use(Check& check) {
    const bool empty =
        text_of(check, "fw_schedule").empty() && text_of(check, "fw_schedule2").empty();
    const bool access = is_on(check, "ac_sch") && number_of(check, "ac_control") > 0;
    const bool keywords = begins_with(check, "fw_block", '2');
    if (empty && access)
        add(check, Level::Warning, "ac_sch",
            {.problem = "requires a schedule, but both lists are empty",
             .effect = "never blocks a service",
             .fix = "ac_sch=0"});
    if (empty && keywords)
        add(check, Level::Warning, "fw_block",
            {.problem = "requires a schedule, but both lists are empty",
             .effect = "never blocks a keyword",
             .fix = "fw_block=1"});
    if (empty || access || keywords) return;
    const char* const key = text_of(check, "fw_schedule").empty() ? "fw_schedule2" : "fw_schedule";
    add(check, Level::Note, key,
        {.problem = "has periods that no feature uses",
         .effect = "rebuilds the firewall at their start and end, with the same rules",
         .fix = "ac_sch=1 or fw_block=2"});
}

void check_radio_period(Check& check, const Period& period) {
    const std::string times =
        place_of(period) + ", from " + time_text(period.start) + " to " + time_text(period.end);
    if (period.start == period.end && period.start != 0)
        add(check, Level::Error, "wl_schedule",
            {.problem = times + ", starts and ends in the same minute",
             .effect = "makes cron switch the radio on and off at the same time",
             .fix = "an end after the start"});
    if (period.start > period.end)
        add(check, Level::Warning, "wl_schedule",
            {.problem = times + ", goes past midnight",
             .effect = "switches the radio off at " + time_text(period.end) + " and on at " +
                       time_text(period.start) + " of the same day",
             .fix = "an entry up to 24:0, and one from 0:0 of the next day"});
}

void check_radio(Check& check) {
    const std::string_view list = text_of(check, "wl_schedule");
    if (list.empty()) return;
    if (text_of(check, "wireless_sch_en") != "enable")
        add(check, Level::Note, "wl_schedule",
            {.problem = "takes effect only with wireless_sch_en=enable",
             .effect = "writes no line for the radio",
             .fix = "wireless_sch_en=enable"});
    for (const Period& period : periods_in(list)) check_radio_period(check, period);
}

}  // namespace

void check_schedules(Check& check) {
    if (!is_on(check, "ap_mode")) {
        check_list(check, {.key = "fw_schedule", .other_key = "fw_schedule2", .first = true});
        check_list(check, {.key = "fw_schedule2", .other_key = "fw_schedule", .first = false});
        check_use(check);
    }
    check_radio(check);
}

}  // namespace nvram
