// Rows of the table of all settings: the router as a wireless station or repeater.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting wireless_client_rows[] = {
    {.key = "sta_ssid",
     .form = Form::Text,
     .may_be_empty = true,
     .high = 32,
     .help = "the network to join as a station"},
};
constexpr std::span<const KnownSetting> wireless_client_settings = wireless_client_rows;

}  // namespace nvram
