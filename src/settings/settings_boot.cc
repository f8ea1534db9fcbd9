// Rows of the table of all settings: boot, and the board's factory data.
#include "settings/areas.h"

namespace nvram {

static constexpr KnownSetting boot_rows[] = {
    {.key = "ap_mode",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "the device is a router",
     .when_wrong = "treats it as 0, except that the radio becomes no client (wifi_ap_mode), which "
                   "takes a value that starts with 0",
     .help = "the device is an access point (1) or a router (0)"},
    {.key = "restore_default",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "the settings are kept",
     .help = "if 1, the next boot restores the factory settings, which set this back to 0"},
    {.key = "upgrade_default",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "nothing is copied",
     .help = "if 1, the next boot copies fw_services_def from the image file and sets this to 0"},
    {.key = "wifi_present",
     .form = Form::Flag,
     .may_be_empty = true,
     .factory = "0",
     .when_empty = "no effect; boot writes it",
     .help = "written at boot: the device has a radio (1)"},
    {.key = "lan_assign_mac",
     .form = Form::Mac,
     .factory = "02:00:00:00:00:01",
     .when_empty =
         "the LAN port keeps its MAC address: ifconfig and the radio driver reject an empty one",
     .help = "MAC address of the LAN side; boot writes the board's own"},
    {.key = "lan_assign_mac_2",
     .form = Form::Mac,
     .may_be_empty = true,
     .when_empty = "no effect; boot sets it together with the board's own MAC address",
     .help = "written at boot: the board's MAC address with its last byte plus one"},
    {.key = "assign_mac",
     .form = Form::Mac,
     .may_be_empty = true,
     .when_empty = "no effect; boot sets it together with the board's own MAC address",
     .help =
         "written at boot: MAC address of the WAN side, the board's with its last byte plus one"},
    {.key = "wan_macaddr_default",
     .form = Form::Mac,
     .may_be_empty = true,
     .when_empty =
         "the WAN port gets the address in /proc/mac, or a built-in one if that file is missing",
     .help = "MAC address of the WAN port unless wan_macaddr is set; boot writes the board's own"},
    {.key = "wsc_device_pin",
     .form = Form::Number,
     .may_be_empty = true,
     .secret = true,
     .high = 99999999,
     .when_empty = "boot reads the board's own PIN from flash",
     .help = "the device's WPS PIN: 8 digits, the last one a check digit"},
};
constexpr std::span<const KnownSetting> boot_settings = boot_rows;

}  // namespace nvram
