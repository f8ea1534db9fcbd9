// Rows of the table of all settings: the security of the radio networks, WPS and WDS.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting radio_security_rows[] = {
    {.key = "wds_enable", .form = Form::Flag, .factory = "0", .help = "WDS is on (1)"},
};
constexpr std::span<const KnownSetting> radio_security_settings = radio_security_rows;

}  // namespace nvram
