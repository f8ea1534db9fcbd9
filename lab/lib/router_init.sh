# Closes the router's root behind it: router_init.sh ROOT PID_FILE, run by power_on as the first process of the
# router's namespaces.
# shellcheck shell=sh

# The old /proc still tells this process's number in the box.
read -r pid _ < /proc/self/stat
echo "$pid" > "$2"

cd "$1" || exit 1
mount -t proc proc proc
# Of the kernel's settings only those of the network are the router's own; the others are this machine's.
mount --bind proc/sys proc/sys
mount -o remount,bind,ro proc/sys
mount --bind proc/sys/net proc/sys/net
mount -o remount,bind,rw proc/sys/net
[ ! -e proc/sysrq-trigger ] || mount --bind dev/null proc/sysrq-trigger
# busybox brctl looks here. Some containers forbid it; what needs it must then be skipped.
mount -t sysfs -o ro sysfs sys 2>/dev/null

chroot . /bin/busybox --install -s
pivot_root . host
cd /
exec /usr/lab/init
