// The Internet side.
#ifndef RC_WAN_WAN_H
#define RC_WAN_WAN_H

// Bring the Internet side up and down. The flag tells a start (1) from a restart (0). -1 as long as
// no connection mode is built in.
int start_wan(int flag);
int stop_wan();

#endif
