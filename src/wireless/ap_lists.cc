// Lists in the access point driver's settings: MAC access control and WDS peers.

#include <string.h>

#include <algorithm>

#include "core/nvram.h"
#include "core/run_state.h"
#include "core/text.h"
#include "wireless/wireless.h"

namespace {

constexpr size_t mac_length = 17;
// The driver's fields hold one character more, the terminator.
constexpr size_t access_list_limit = 1023;
constexpr size_t wds_list_limit = 127;

// Appends an entry if it fits as a whole; otherwise returns false.
bool append_entry(std::string& list, std::string_view entry, size_t limit) {
    const size_t separator = list.empty() ? 0 : 1;
    if (list.size() + separator + entry.size() > limit) return false;
    if (separator) list += ';';
    list += entry;
    return true;
}

}  // namespace

std::string joined_access_list(std::string_view records) {
    std::string list;
    while (records.size() >= mac_length) {
        if (!append_entry(list, records.substr(0, mac_length), access_list_limit)) break;
        records.remove_prefix(mac_length);
        take_field(records, '\x01');
    }
    return list;
}

std::string joined_wds_peers() {
    std::string list;
    for (const char* key : {"wds_list1", "wds_list2", "wds_list3", "wds_list4"}) {
        const Setting peer = nvram_text(key);
        if (peer.view().size() < mac_length) continue;
        append_entry(list, peer.view(), wds_list_limit);
        run_state().wds_peer_count++;
    }
    return list;
}
