// Rows of the table of all settings: dynamic DNS.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting ddns_rows[] = {
    {.key = "ddns_enable", .form = Form::Flag, .factory = "0", .help = "dynamic DNS is on (1)"},
};
constexpr std::span<const KnownSetting> ddns_settings = ddns_rows;

}  // namespace nvram
