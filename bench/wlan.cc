// The configuration part of "rc wlan start", which otherwise waits for the radio: writes
// /var/RT2860AP.dat and /tmp/wifi_acc from the settings.

#include "rc/rc.h"
#include "wireless/wireless.h"

int main(int argc, char** argv) {
    // With arguments this is rc, so that all of rc is linked and the start-up cost is rc's.
    if (argc > 1) return rc_main(argc, argv);
    return create_wifi_cfg() == 1 ? 0 : 1;
}
