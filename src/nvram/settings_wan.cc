// Rows of the table of all settings: the WAN port, its mode and its name servers.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting wan_rows[] = {
    {.key = "wan_fix_dns",
     .form = Form::Flag,
     .factory = "0",
     .help = "the own name servers replace those of the provider (1)"},
};
constexpr std::span<const KnownSetting> wan_settings = wan_rows;

}  // namespace nvram
