// The daemons that rc starts.
#ifndef RC_PLAN_INSPECT_DAEMONS_H
#define RC_PLAN_INSPECT_DAEMONS_H

#include <string_view>

struct Daemon {
    std::string_view name;
    // It never forks, so that a second process is a second daemon.
    bool alone = false;
};
// Those that stay; ez-ipupdate ends when it has told the address.
inline constexpr Daemon daemons[] = {
    {"IGMPProxy", true},
    {"bpalogin"},
    {"bpamonitor"},
    {"l2tpd"},
    {"mini_httpd"},
    {"ntp"},
    {"pppd"},
    {"pppoe-relay"},
    {"ras"},
    {"rasmonitor"},
    {"routed"},
    {"rt2860apd"},
    {"udhcpc", true},
    {"udhcpd", true},
    {"upnpd"},
    {"wscd"},
};

// The daemon that a command's first word runs; null if it runs none.
const Daemon* daemon_in(std::string_view word);

#endif
