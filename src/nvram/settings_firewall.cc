// Rows of the table of all settings: firewall, port forwarding, access control, QoS.
#include "nvram/setting_areas.h"

namespace nvram {

static constexpr KnownSetting firewall_rows[] = {
    {.key = "fw_nat",
     .form = Form::Flag,
     .factory = "1",
     .help = "the firewall and address translation are on (1)"},
};
constexpr std::span<const KnownSetting> firewall_settings = firewall_rows;

static constexpr KnownSetting forward_rows[] = {
    {.key = "fw_dmz_enable", .form = Form::Flag, .factory = "0", .help = "a DMZ host is on (1)"},
};
constexpr std::span<const KnownSetting> forward_settings = forward_rows;

static constexpr KnownSetting block_rows[] = {
    {.key = "fw_block_trust_enable",
     .form = Form::Flag,
     .factory = "0",
     .help = "one host of the LAN is never blocked (1)"},
};
constexpr std::span<const KnownSetting> block_settings = block_rows;

static constexpr KnownSetting qos_rows[] = {
    {.key = "qos_enable", .form = Form::Flag, .factory = "0", .help = "QoS is on (1)"},
};
constexpr std::span<const KnownSetting> qos_settings = qos_rows;

}  // namespace nvram
