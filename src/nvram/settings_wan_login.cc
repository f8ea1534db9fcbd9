// Rows of the table of all settings: PPPoE, PPTP, L2TP and the login clients.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting wan_login_rows[] = {
    {.key = "wan_dod", .form = Form::Flag, .factory = "0", .help = "PPPoE dials on demand (1)"},
};
constexpr std::span<const KnownSetting> wan_login_settings = wan_login_rows;

}  // namespace nvram
