# The board: the router's process tree, its ports, its flash.
# shellcheck shell=bash

# An emulated processor on a busy host is slow, so waits try less often.
hang_limit=$((4 * hang_limit))
try_pause=0.5

# The router's root in the machine's image.
root=/router

# plug_router: the switch is one port, eth2, whose VLANs 1 and 2 are the LAN and the line. The router's boot script creates
# the VLAN interfaces of its end.
plug_router() {
    : > "$world/net/router"
    mount --bind /proc/1/ns/net "$world/net/router"
    ip link add trunk type veth peer name eth2 netns 1
    ip link set trunk up
    ip link add link trunk name port_lan type vlan id 1
    ip link add link trunk name port_wan type vlan id 2
    ip link set port_lan up
    ip link set port_wan up
    switch_port port_lan
    ip link set port_wan master line
    ip link add air type veth peer name ra0 netns 1
}

booted() {
    [ -e "$root/var/lab/booted" ]
}

# power_on: the router boots without input, as from its inittab.
power_on() {
    plug_router
    # sysfs shows the interfaces of the namespace in which it is mounted.
    nsenter --net="$world/net/router" mount -t sysfs sysfs "$root/sys"
    mount -t devtmpfs dev "$root/dev"
    mount -t devpts devpts "$root/dev/pts"
    mount -t jffs2 mtd1 "$root/flash"
    nsenter --net="$world/net/router" unshare --mount --pid --fork --propagation private \
        sh /lab/machine/router_init "$root" "$world/router_pid" &
    comes "rc init has ended" booted
    read -r router_pid < "$world/router_pid"
    sed 's/^/      | /' "$root/var/lab/console"
}

# The VLANs that the kernel has, as "name: port/number", separated by "; ".
vlans() {
    awk -F '|' 'NR > 2 { gsub(/ /, ""); printf "%s%s: %s/%s", (NR > 3 ? "; " : ""), $1, $3, $2 }' /proc/1/net/vlan/config
}

# flash_bytes OFFSET COUNT: of the board's first flash partition, in hexadecimal.
flash_bytes() {
    dd if=/dev/mtd0 bs=1 skip=$(($1)) count="$2" 2>/dev/null | xxd -p
}

# install -m MODE FILE PLACE: because the machine's busybox lacks that program.
install() {
    cp "$3" "$4"
    chmod "$2" "$4"
}

# at_least WHAT LEAST SEEN
at_least() {
    if [ "$3" -ge "$2" ]; then
        passed "$1: $3"
    else
        failed "$1: expected at least $2, saw \"$3\""
    fi
}

# skipped WHAT REASON
skipped() {
    printf '  skip  %s: %s\n' "$1" "$2"
}
