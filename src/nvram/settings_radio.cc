// Rows of the table of all settings: the radio, its channels and rates.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting radio_rows[] = {
    {.key = "wifi_ssid",
     .form = Form::Text,
     .high = 32,
     .factory = "router",
     .help = "the name of the network"},
};
constexpr std::span<const KnownSetting> radio_settings = radio_rows;

}  // namespace nvram
