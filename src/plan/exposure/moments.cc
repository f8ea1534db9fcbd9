#include "plan/exposure/moments.h"

#include <set>

#include "core/platform.h"
#include "plan/router/recording.h"
#include "sched/periods.h"

namespace {

constexpr long long minutes_a_day = 24LL * 60;
constexpr long long minutes_a_week = 7 * minutes_a_day;

constexpr const char* state_file = "/tmp/cron_schedule";

// The minutes of the week, from Sunday in the router's time, at which the state may change: the
// edges of all periods, midnights, and each an hour earlier and later for daylight saving.
std::set<long long> edges_of(const Settings& settings) {
    std::set<long long> edges;
    const auto add = [&edges](long long minute) {
        for (const int shift : {-60, 0, 60})
            edges.insert((minute + shift + minutes_a_week) % minutes_a_week);
    };
    for (int day = 0; day < 7; day++) add(day * minutes_a_day);
    for (const char* key : {"fw_schedule", "fw_schedule2"}) {
        const auto list = settings.find(key);
        std::string_view records = list == settings.end() ? "" : std::string_view(list->second);
        while (!records.empty()) {
            const std::optional<SchedulePeriod> period = parse_period(take_record(records));
            if (!period || period->day < 0 || period->day > 6) continue;
            for (const auto& [hour, minute] : {std::pair{period->start_hour, period->start_minute},
                                               std::pair{period->end_hour, period->end_minute}}) {
                const long long of_day = hour * 60LL + minute;
                if (of_day >= 0 && of_day <= minutes_a_day)
                    add(period->day * minutes_a_day + of_day);
            }
        }
    }
    return edges;
}

long long minute_of_week(const World& world) {
    Recording played;
    played.world = world;
    const Playing playing(played);
    const tm local = platform::local_time(world.clock_microseconds / 1'000'000);
    return local.tm_wday * minutes_a_day + local.tm_hour * 60LL + local.tm_min;
}

}  // namespace

bool schedule_is_open(const Plan& plan) {
    const std::string* const state = plan.after.world.get(state_file);
    return state != nullptr && state->starts_with('1');
}

std::optional<World> at_other_state(const Plan& plan) {
    const Settings settings = read_settings(std::string(image_in_force(plan.before)));
    const auto has = [&settings](const char* key) {
        const auto list = settings.find(key);
        return list != settings.end() && !list->second.empty();
    };
    if (!has("fw_schedule") && !has("fw_schedule2")) return std::nullopt;
    const bool open = schedule_is_open(plan);
    // The run has set the time zone.
    const long long present = minute_of_week(plan.after.world);
    std::set<long long> minutes_later;
    for (const long long edge : edges_of(settings))
        minutes_later.insert((edge - present + minutes_a_week) % minutes_a_week);
    for (const long long later : minutes_later) {
        World router = plan.before;
        constexpr long long microseconds_a_minute = 60'000'000;
        router.clock_microseconds += later * microseconds_a_minute;
        if (schedule_is_open(make_plan(router, {"rc", "schedule", "start"})) != open)
            return copy_of(router);
    }
    return std::nullopt;
}

std::string moment_text(const Plan& plan) {
    return schedule_is_open(plan) ? "while the schedule is open" : "while the schedule is closed";
}

std::string clock_words(const Plan& plan) {
    const Input clock = {.kind = Input::Kind::Clock, .name = ""};
    return "--clock '" + value_of_input(plan.before, clock).value_or("") + "'";
}
