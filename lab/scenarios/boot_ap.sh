# The device as an access point: not a router, but a bridge of the switch and the radio in another router's LAN.
# shellcheck shell=bash

new_pc pc1 02:00:00:00:00:11
in_net pc1 busybox ifconfig eth0 192.168.1.1 netmask 255.255.255.0

step "The device is set up as an access point and switched off and on"
power_on || exit 1
if ! router test -d /sys/class/net; then
    echo "sysfs may not be mounted in the box, and busybox brctl needs it"
    exit 77
fi
console nvram load
console nvram set ap_mode=1
console nvram set ap_gateway=192.168.1.1
console nvram set ap_dns=192.168.1.53
console nvram set lan_ipaddr=192.168.1.2
console nvram commit
echo "(the device is switched off and on)"
power_off
power_on || exit 1
console rc init
same "the bridge" "eth2 ra0" "$(bridge_ports)"
same "br0's address" 192.168.1.2/24 "$(lan_address)"
with "stub /dev/mtd0" same "eth2's MAC address" "$board_mac" "$(mac_of eth2)"
must_hold
same "the default route" "192.168.1.1 br0" "$(default_route)"
same "the name server" "nameserver 192.168.1.53" "$(cat "$root/tmp/resolv.conf")"
like "the Ethernet driver was loaded (a stub notes its command line)" "/sbin/insmod *raeth.ko zl_lan_wan=0" \
    "$(cat "$root/tmp/calls" && callers .)"
comes "mini_httpd answers" answers pc1 http://192.168.1.2/
same "no DHCP server" "" "$(router pidof udhcpd)"

step "The rest of the LAN reaches it"
browse pc1 -u admin:1234 http://192.168.1.2/
same "the web interface" 200 "$http_status"
