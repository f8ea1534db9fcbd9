// Boot initialisation, and the board's own set-up functions.
#ifndef RC_RC_BOOT_H
#define RC_RC_BOOT_H

// Loads the settings, takes the board's factory data out of flash and runs the boot script. Always
// 0.
int rc_init();

// MAC addresses, WPS PIN and hardware version from flash into settings and files.
void init_version();

// The hook where a board probes its radio. 0: the radio is there.
int wifi_init();

// Board functions that a product's own build may call; nothing in rc does.

// Stores a variable in the boot loader's environment unless it has that value already, whatever its
// case. 1 when the environment cannot be opened, else 0.
int set_boot_environment(const char* name, const char* value);

// Sets the Ethernet switch's registers up. 0, or -1 with a message.
int set_up_switch();

// Always 0.
int board_hook();

#endif
