// Nothing in rc calls these.
#ifndef RC_WAN_UNUSED_H
#define RC_WAN_UNUSED_H

// Sleeps that many seconds. Returns 0 if the WAN is up then, else -1.
int wan_wait_up(unsigned seconds);

// Writes an interface's hardware address as text of 17 characters in upper case. Returns -1 with a
// message if no socket could be opened, else 1. If the interface does not exist, out is unchanged.
int get_ifmac(char (&out)[18], const char* ifname);

#endif
