// Rows of the table of all settings: time zone, time client, schedules.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting time_rows[] = {
    {.key = "time_daylight",
     .form = Form::Flag,
     .factory = "0",
     .help = "daylight saving is observed (1)"},
};
constexpr std::span<const KnownSetting> time_settings = time_rows;

}  // namespace nvram
