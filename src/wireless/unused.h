// Nothing in rc calls these.
#ifndef RC_WIRELESS_UNUSED_H
#define RC_WIRELESS_UNUSED_H

// Appends the lines of a repeater to /var/RT2860AP.dat. 1 if they were written, else 0.
int create_apcli_cfg();

// Writes the radio's default calibration to /etc/RT2880_eeprom_v1_0.bin. 1 if it was written, else
// 0.
int write_eeprom_image();

#endif
