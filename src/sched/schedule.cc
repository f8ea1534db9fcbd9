// Weekly schedules of the firewall. Writes and reads /tmp/cron_schedule.

#include <time.h>

#include "core/command.h"
#include "core/nvram.h"
#include "core/platform.h"
#include "sched/sched.h"

namespace {

struct Minutes {
    long long start;
    long long end;
};

// The first period of a day; later ones of the same day never apply.
std::optional<Minutes> period_of(std::string_view list, int weekday) {
    while (!list.empty()) {
        const std::optional<SchedulePeriod> period = parse_period(take_record(list));
        if (period && period->day == weekday)
            return Minutes{.start = period->start_hour * 60LL + period->start_minute,
                           .end = period->end_hour * 60LL + period->end_minute};
    }
    return std::nullopt;
}

// The first list is for the part of a period after midnight, on the record's own day.
bool open_in_first(std::string_view list, int weekday, int minute) {
    const std::optional<Minutes> period = period_of(list, weekday);
    if (!period) return false;
    if (period->start <= period->end) return period->start <= minute && minute < period->end;
    return minute < period->end;
}

// The second list is for the part before midnight.
bool open_in_second(std::string_view list, int weekday, int minute) {
    const std::optional<Minutes> period = period_of(list, weekday);
    if (!period) return false;
    if (period->start <= period->end) return period->start <= minute && minute < period->end;
    return minute >= period->start;
}

}  // namespace

int check_sche() {
    const Setting first = nvram_text("fw_schedule");
    const Setting second = nvram_text("fw_schedule2");
    const Setting summer_time = nvram_text("time_daylight");
    platform::set_environment("TZ", nvram_text("time_zone").text());

    long long now = platform::current_time();
    if (summer_time.on()) now += daylight_saving_new() * 3600LL;
    const tm local = platform::local_time(now);
    const int minute = local.tm_hour * 60 + local.tm_min;
    return open_in_first(first.view(), local.tm_wday, minute) ||
                   open_in_second(second.view(), local.tm_wday, minute)
               ? 1
               : 0;
}

int start_schedule() {
    File answer = open_file("/tmp/cron_schedule", "w");
    if (answer) answer.print("%d", check_sche());
    return 0;
}

char schedule_character() {
    File schedule = open_file("/tmp/cron_schedule", "r");
    unsigned char first[1] = {};
    if (schedule) schedule.read(first);
    return static_cast<char>(first[0]);
}
