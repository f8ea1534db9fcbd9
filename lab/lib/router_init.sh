# Makes ROOT the router's root file system and runs its init: router_init.sh ROOT PID_FILE, run by power_on as the first
# process of the router's namespaces. Writes its process id, as seen from the box, to PID_FILE.
# shellcheck shell=sh

# The old /proc still has this process's id in the box.
read -r pid _ < /proc/self/stat
echo "$pid" > "$2"

cd "$1" || exit 1
mount -t proc proc proc
# Of the kernel's settings, the router may change only those of the network, because the others are this machine's.
mount --bind proc/sys proc/sys
mount -o remount,bind,ro proc/sys
mount --bind proc/sys/net proc/sys/net
mount -o remount,bind,rw proc/sys/net
[ ! -e proc/sysrq-trigger ] || mount --bind dev/null proc/sysrq-trigger
# For busybox brctl. Some containers forbid it; the checks that need it are then skipped.
mount -t sysfs -o ro sysfs sys 2>/dev/null

chroot . /bin/busybox --install -s
pivot_root . host
cd /
exec /usr/lab/init
