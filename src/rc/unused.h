// Nothing in rc calls these.
#ifndef RC_RC_UNUSED_H
#define RC_RC_UNUSED_H

// Stores a variable in the boot loader's environment unless it has that value already, ignoring
// case. 1 if the environment cannot be opened, else 0.
int set_boot_environment(const char* name, const char* value);

// Sets up the Ethernet switch's registers. 0, or -1 with a message.
int set_up_switch();

// Does nothing. Always 0.
int board_hook();

#endif
