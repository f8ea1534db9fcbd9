// The PPP option builder: turns settings into pppd command lines, option files and secrets.
#ifndef RC_WAN_PPP_H
#define RC_WAN_PPP_H

#include <string>

#include "core/nvram.h"

// The carrier of a link.
constexpr int ppp_over_ethernet = 0;
constexpr int ppp_over_pptp = 2;
constexpr int ppp_over_l2tp = 3;

// Redirects the LAN's name look-ups to the demand-dial address, then starts the link of this type:
// pppd itself, or l2tpd with pppd's files. For another type it only redirects. The flag is ignored.
void set_pppd_cmd(int type, int flag);

// The text escaped for a shell line that is its own format: a backslash before \ " $ ' and `, and
// the percent sign doubled.
std::string specialchar(const Setting& text);

// The same from one buffer to another, which must have room for twice the text and its terminator.
// Returns the written end.
char* add_prefix_slash(const char* in, char* out);

// Writes the secrets files and l2tpd's configuration with the escaped texts; nothing removes the
// backslashes again.
void update_l2tp_conf();

// Options of pppd that several links share.
const char* peer_dns_option();
// pppd's "mtu" option for a link with the given default; a stored 1500 means Ethernet's default, so
// the link's is used.
std::string link_mtu(const char* link_default);
// "idle N demand" for a number of minutes; N is in seconds.
std::string idle_option(int minutes);

#endif
