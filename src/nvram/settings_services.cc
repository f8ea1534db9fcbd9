// Rows of the table of all settings: web interface, system log and mail, multicast and UPnP.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting web_rows[] = {
    {.key = "http_username",
     .form = Form::Text,
     .factory = "admin",
     .help = "the name for logging in"},
};
constexpr std::span<const KnownSetting> web_settings = web_rows;

static constexpr KnownSetting log_rows[] = {
    {.key = "log_enable", .form = Form::Flag, .factory = "1", .help = "a system log is kept (1)"},
};
constexpr std::span<const KnownSetting> log_settings = log_rows;

static constexpr KnownSetting multicast_rows[] = {
    {.key = "igmp_enable", .form = Form::Flag, .factory = "0", .help = "the IGMP proxy runs (1)"},
};
constexpr std::span<const KnownSetting> multicast_settings = multicast_rows;

}  // namespace nvram
