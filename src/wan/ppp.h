// The PPP option builder: turns settings into pppd command lines and option files.
#ifndef RC_WAN_PPP_H
#define RC_WAN_PPP_H

#include <string>

// The transport of a link.
constexpr int ppp_over_ethernet = 0;
constexpr int ppp_over_pptp = 2;
constexpr int ppp_over_l2tp = 3;

// Redirects the LAN's name look-ups to the demand-dial address, then starts the link of this type:
// pppd itself, or l2tpd with pppd's files. For other types it does only the redirection. The flag
// is ignored.
void set_pppd_cmd(int type, int flag);

// pppd's options, as far as several links share them.
const char* peer_dns_option();
// The option "mtu". A stored 1500 is Ethernet's default, so the link's default is used instead.
std::string link_mtu(int link_default);
// "idle N demand" for a number of minutes; N is in seconds.
std::string idle_option(int minutes);

#endif
