// The values of "wan_mode".
#ifndef RC_CORE_WAN_MODES_H
#define RC_CORE_WAN_MODES_H

#include <stddef.h>

#include <array>
#include <string_view>

namespace wan_mode {

constexpr const char* dhcpc = "dhcpc";
constexpr const char* ip = "ip";
constexpr const char* pppoe = "pppoe";
constexpr const char* pptp = "pptp";
constexpr const char* l2tp = "l2tp";
constexpr const char* bpa = "bpa";
constexpr const char* ras = "ras";

// The MTU that a PPP link carries: Ethernet's 1500 bytes less the headers of PPPoE (RFC 2516), and
// of the tunnels.
constexpr int pppoe_mtu = 1492;
constexpr int pptp_mtu = 1462;
constexpr int l2tp_mtu = 1464;

// In the order in which the reference lists them.
constexpr const char* all[] = {dhcpc, ip, pppoe, pptp, l2tp, bpa, ras};

// All modes as one text, separated by blanks.
inline constexpr auto joined = [] {
    std::array<char, 64> text = {};
    size_t length = 0;
    for (const std::string_view mode : all) {
        if (length > 0) text[length++] = ' ';
        for (const char c : mode) text[length++] = c;
    }
    return text;
}();

}  // namespace wan_mode

#endif
