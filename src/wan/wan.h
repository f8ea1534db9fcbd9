// The Internet side: the dispatcher, one file per connection mode, and the services of the WAN.
// Handlers return 0, or a negative number if they could not do their work.
#ifndef RC_WAN_WAN_H
#define RC_WAN_WAN_H

#include <optional>
#include <string>

#include "core/command.h"
#include "core/nvram.h"

// wan.cc: brings the connection of "wan_mode" up and down. The flag is 1 for a start, 0 for a
// restart; the modes pass it on, and nothing uses it.
int start_wan(int flag);
int stop_wan();

// The physical WAN port.
Setting wan_port();

// The list that ps(1) prints of all processes, read when the object is made.
class ProcessList {
  public:
    ProcessList();
    // The name is searched for in the whole list, so a longer word that contains it matches too.
    bool names(const char* program) const;

  private:
    OwnedText text_;
};

// Whether an IPv4 address of a port can carry traffic.
bool usable_address(const std::optional<std::string>& address);

// mac_spoofing.cc: sets the physical port's address as seen by the provider.
void mac_spoofing();

// The connection modes.
int start_dhcpc();
int start_ip();
int start_pppoe(int flag);
int start_pptp(int flag);
int start_l2tp(int flag);
int start_bpa(int flag);
int start_ras(int flag);

// pptp.cc: the first address of a host as text, at most 31 characters. False if the name has no
// address.
bool hostnametoip(std::string& dst, const char* name);
// 0 if the routing table has a default route through a gateway, else -1.
int have_gw();

// bpa.cc: writes the login client's configuration. Always 0.
int mk_bpa_conf();

// wan_basic.cc: MTU, fixed name servers, and the time client's marker.
int start_wan_basic();
int stop_wan_basic();
int set_mtu();

// ddns.cc: the dynamic-DNS client.
int start_ddns_update();

#endif
