// The entries of "wifi_access_list".
#ifndef RC_WIRELESS_ACCESS_LIST_H
#define RC_WIRELESS_ACCESS_LIST_H

#include <string_view>

#include "core/limits.h"
#include "core/text.h"

// Takes the next 17 characters of a list that has as many, whatever they are, and skips what is
// left up to the next separator.
inline std::string_view take_address(std::string_view& records) {
    const std::string_view address = cut(records, limits::mac_length);
    records.remove_prefix(address.size());
    take_field(records, '\x01');
    return address;
}

#endif
