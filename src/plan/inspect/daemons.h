// The daemons that rc starts.
#ifndef RC_PLAN_INSPECT_DAEMONS_H
#define RC_PLAN_INSPECT_DAEMONS_H

#include <string_view>

struct Daemon {
    std::string_view name;
    // It never forks, so that a second process is a second daemon.
    bool alone = false;
    // What it reads of rc's files when it starts, and never again.
    std::string_view reads = {};
};
// Those that stay; ez-ipupdate ends when it has told the address.
inline constexpr Daemon daemons[] = {
    {"IGMPProxy", true},
    {"bpalogin", false, "/var/bpalogin.conf"},
    {"bpamonitor"},
    {"l2tpd", false, "/tmp/l2tp/l2tpd.conf"},
    {"mini_httpd"},
    {"ntp"},
    {"pppd"},
    {"pppoe-relay"},
    {"ras"},
    {"rasmonitor"},
    {"routed", false, "/etc/gateways"},
    {"rt2860apd"},
    {"udhcpc", true},
    {"udhcpd", true, "/etc/udhcpd.conf"},
    {"upnpd"},
    {"wscd"},
};

// The daemon that a command's first word runs; null if it runs none.
const Daemon* daemon_in(std::string_view word);

#endif
