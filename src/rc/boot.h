// Boot initialisation, and the board's own set-up functions.
#ifndef RC_RC_BOOT_H
#define RC_RC_BOOT_H

// Loads the settings, reads the board's factory data from flash and runs the boot script. Always 0.
int rc_init();

// Copies MAC addresses, WPS PIN and hardware version from flash into settings and files.
void init_version();

// Probes the radio. 0: the radio is present.
int wifi_init();

// Board functions that nothing in rc calls.

// Stores a variable in the boot loader's environment unless it already has that value, ignoring
// case. 1 if the environment cannot be opened, else 0.
int set_boot_environment(const char* name, const char* value);

// Sets the Ethernet switch's registers up. 0, or -1 with a message.
int set_up_switch();

// Always 0.
int board_hook();

#endif
