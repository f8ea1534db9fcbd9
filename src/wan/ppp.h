// The PPP option builder: turns settings into pppd command lines, option files and secrets.
#ifndef RC_WAN_PPP_H
#define RC_WAN_PPP_H

#include <string>

#include "core/nvram.h"

// What a link runs over.
constexpr int ppp_over_ethernet = 0;
constexpr int ppp_over_pptp = 2;
constexpr int ppp_over_l2tp = 3;

// Redirects the LAN's name look-ups to the demand-dial address, then starts the link of this type:
// pppd itself, or l2tpd with pppd's files. Another type only gets the redirection. The flag is not
// looked at.
void set_pppd_cmd(int type, int flag);

// The text escaped for a shell line that stands as its own format: a backslash before \ " $ ' and
// `, and the percent sign doubled.
std::string specialchar(const Setting& text);

// The same from one buffer to another, which must have room for twice the text and its end. Returns
// the end that was written.
char* add_prefix_slash(const char* in, char* out);

// Writes the secrets files and l2tpd's configuration. The escaped texts go in as they are, and
// nothing takes the backslashes off again.
void update_l2tp_conf();

// pppd's options, as far as several links share them.
const char* peer_dns_option();
// "mtu" for a link whose own default is given; a stored 1500 is Ethernet's, not a link's.
std::string link_mtu(const char* link_default);
// "idle N demand" for a number of minutes; N is in seconds.
std::string idle_option(int minutes);

#endif
