# The machine is switched on for the first time: its flash has no settings yet.
# shellcheck shell=bash

new_pc pc1 02:00:00:00:00:11
new_provider

step "The machine boots with rc init and a flash without settings"
same "processor" mips "$(uname -m)"
same "its byte order, of rc" 1 "$(head -c 6 "$root/usr/sbin/rc" | tail -c 1 | xxd -p | sed 's/^0//')"
same "flash partitions" "mtd0: 00030000 00010000; mtd1: 00100000 00010000" \
    "$(awk 'NR > 1 { printf "%s%s %s %s", (NR > 2 ? "; " : ""), $1, $2, $3 }' /proc/mtd)"
power_on || exit 1
same "the settings are loaded, LAN address" 192.168.1.1 "$(setting lan_ipaddr)"
same "the board's MAC address from flash" "$board_mac" "$(setting lan_assign_mac)"
same "the board's WPS PIN from flash" "$board_pin" "$(setting wsc_device_pin)"
same "/var/wps_pin" "$board_pin" "$(cat "$root/var/wps_pin")"
same "/tmp/version" "$board_version" "$(cat "$root/tmp/version")"
must_hold

step "LAN and line are VLANs 1 and 2 of one port"
same "VLAN devices" "eth2.1: eth2/1; eth2.2: eth2/2" "$(vlans)"
same "br0's address" 192.168.1.1/24 "$(lan_address)"
same "ports of br0" eth2.1 "$(bridge_ports)"
same "eth2.1's MAC address" "$board_mac" "$(mac_of eth2.1)"
same "eth2.2's MAC address" "$board_wan_mac" "$(mac_of eth2.2)"

step "The LAN gets addresses and can open the web page"
comes "udhcpd runs" running udhcpd
comes "pppoe-relay runs" running pppoe-relay
ask_lease pc1
in_pool "pc1's address" 192.168.1.33 192.168.1.64 "$(lease_of pc1 address)"
same "its router" 192.168.1.1 "$(lease_of pc1 router)"
same "lease time of one day, in seconds" 86400 "$(lease_of pc1 seconds)"
comes "the lease is in /var/udhcpd.leases" leased pc1
comes "mini_httpd answers" answers pc1 http://192.168.1.1/
browse pc1 http://192.168.1.1/
same "the web page, without a password" 401 "$http_status"
browse pc1 -u admin:1234 http://192.168.1.1/
same "with it" 200 "$http_status"

step "The provider leases an address to the line"
via udhcpc comes "the WAN is up: /tmp/wan_uptime" on_router /tmp/wan_uptime
wan=$(address_of eth2.2)
via udhcpc in_pool "eth2.2's address" 203.0.113.100 203.0.113.120 "${wan%/24}"
via udhcpc same "the default route" "$provider_gateway eth2.2" "$(default_route)"
via udhcpc same "the name servers" "domain provider.example; nameserver $provider_dns" "$(lines_of /etc/resolv.conf)"
with "real packets" comes "the provider answers a ping" answers_ping router "$provider_gateway"
same "the MAC address that the provider sees" "$board_wan_mac" "$(seen_by_provider "${wan%/24}")"

step "The owner's settings are committed, and the power is cut"
separator=$'\x01'
field=$'\x02'
qos_record() {
    printf '%s' "1$field$1$field$2$field$3${field}0${field}tcp${field}0${field}0${field}0$field$4$separator"
}
# The password has all characters that are special to a shell, except the single quote: see docs/lab.md.
router nvram import - << END
wan_mode=pppoe
pppoe_username=user@provider.example
pppoe_password=a"b\$c\`d\\\\e%f
pppoe_service=gold line
fw_in_rules=web:1:all:8080:80:tcp:40
fw_response_ping=1
log_outgoing=1
log_access=1
qos_enable=1
qos_type=priority
wan_bandwidth=1000
fw_block=2
fw_block_keyword=casino
time_daylight=1
END
console nvram set "qos=$(qos_record 0 surfing 80 0)$(qos_record 1 pages 80 2)"
# Saturday from 12:30 to 13:00, and the night in which summer time begins in London.
console nvram set "fw_schedule=6:12:30-13:0${separator}0:1:30-2:30"
# shellcheck disable=SC2016
same "the password as entered" 'a"b$c`d\e%f' "$(setting pppoe_password)"
console nvram commit
console nvram set device_name=Forgotten
same "the settings in flash" pppoe "$(router nvram diff @factory @flash | sed -n "s/^+ wan_mode=//p")"
