// Nothing in rc calls these.
#ifndef RC_WAN_UNUSED_H
#define RC_WAN_UNUSED_H

// Sleeps that many seconds, then 0 when the WAN is up, -1 when it is not.
int wan_wait_up(unsigned seconds);

// Writes an interface's hardware address as text of 17 characters in upper case. -1 with a message
// when no socket could be had; else 1, also when there is no such interface and out stays as it is.
int get_ifmac(char (&out)[18], const char* ifname);

#endif
