# For checks of what rcplan inspect says: a router on which everything runs, and which is at rest.
# shellcheck shell=bash

# boot_starts_all: the boot script also starts what some boards leave out. Call it before `rc init`.
boot_starts_all() {
    sed -i -e '/rc httpd start/d; /rc dhcpd start/d' -e "s,^/usr/sbin/rc lan start,/usr/sbin/syslogd \&\n\
for app in lan wlan syslogd httpd dhcpd ntp route ripd upnp; do /usr/sbin/rc \$app start; done," "$root/etc/rcS_router"
}

# No run of rc is under way, nor a script that it has started.
at_rest() {
    event_script_ended && ! router pidof rc qos.conf > /dev/null && gone /var/run/my_pid_service
}
