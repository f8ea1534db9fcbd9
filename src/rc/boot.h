// Boot initialisation.
#ifndef RC_RC_BOOT_H
#define RC_RC_BOOT_H

// Loads the settings, reads the board's factory data from flash and runs the boot script. Always 0.
int rc_init();

// Copies MAC addresses, WPS PIN and hardware version from flash into settings and files.
void init_version();

// Whether the radio is there: always 0, it is.
int wifi_init();

#endif
