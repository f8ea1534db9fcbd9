// Rows of the table of all settings: boot, and what the board knows of itself.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting boot_rows[] = {
    {.key = "ap_mode",
     .form = Form::Flag,
     .factory = "0",
     .help = "access point (1) or router (0)"},
};
constexpr std::span<const KnownSetting> boot_settings = boot_rows;

}  // namespace nvram
