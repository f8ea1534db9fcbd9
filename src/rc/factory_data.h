// The board's factory data at the end of its boot partition.
#ifndef RC_RC_FACTORY_DATA_H
#define RC_RC_FACTORY_DATA_H

#include <array>
#include <optional>
#include <string>

struct FactoryData {
    std::array<unsigned char, 6> base_mac;
    std::string wps_pin;  // 8 digits, fewer if a zero byte ends them
    std::array<unsigned char, 2> version;
};

// nullopt if the partition cannot be opened or ends before the data.
std::optional<FactoryData> read_factory_data(const char* partition);

// The address in lower case with an amount added to its last byte, without carry: ff plus one gives
// 100.
std::string mac_text(const std::array<unsigned char, 6>& mac, unsigned add);

#endif
