// The board's factory data at the end of its boot partition.

#include "rc/factory_data.h"

#include "core/file.h"
#include "core/text.h"

namespace {

// The offset at which the factory writes the PIN.
constexpr long pin_offset = 0x2FF70;
constexpr long mac_offset = 0x2FFA0;
constexpr long version_offset = 0x2FFAA;
// The hardware version within the version record.
constexpr size_t hardware_version = 57;

template <size_t size>
std::optional<std::array<unsigned char, size>> read_at(File& file, long offset) {
    std::array<unsigned char, size> bytes = {};
    if (!file.seek(offset) || file.read(bytes) != size) return std::nullopt;
    return bytes;
}

}  // namespace

std::optional<FactoryData> read_factory_data(const char* partition) {
    File flash = open_file(partition, "r");
    if (!flash) return std::nullopt;

    const auto pin = read_at<8>(flash, pin_offset);
    const auto mac = read_at<6>(flash, mac_offset);
    const auto record = read_at<70>(flash, version_offset);
    if (!pin || !mac || !record) return std::nullopt;

    std::string wps_pin;
    for (const unsigned char digit : *pin) {
        if (digit == 0) break;
        wps_pin += static_cast<char>(digit);
    }
    return FactoryData{
        .base_mac = *mac,
        .wps_pin = wps_pin,
        .version = {(*record)[hardware_version], (*record)[hardware_version + 1]},
    };
}

std::string mac_text(const std::array<unsigned char, 6>& mac, unsigned add) {
    return format("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5] + add);
}
