// Lists in the access point driver's settings: MAC access control and WDS peers.

#include <string.h>

#include <algorithm>

#include "core/limits.h"
#include "core/run_state.h"
#include "core/text.h"
#include "wireless/access_list.h"
#include "wireless/wireless.h"

namespace {

// Appends an entry, after a ";" unless it is the first. False, with nothing appended, if it does
// not fit whole.
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
    while (records.size() >= limits::mac_length)
        if (!append_entry(list, take_address(records), limits::access_list)) break;
    return list;
}

std::string joined_wds_peers(std::span<const Setting> peers) {
    std::string list;
    for (const Setting& peer : peers) {
        if (peer.view().size() < limits::mac_length) continue;
        append_entry(list, peer.view(), limits::wds_list);
        run_state().wds_peer_count++;
    }
    return list;
}
