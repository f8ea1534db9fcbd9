# A router boots, serves its LAN, applies new settings, and keeps them over a power cut.
# shellcheck shell=bash

printer_mac=02:00:00:00:00:13
page=http://192.168.1.1/

new_pc pc1 02:00:00:00:00:11
new_pc pc2 02:00:00:00:00:12

step "The router is switched on for the first time, with a flash without settings"
power_on || exit 1
console rc init
same "the settings are loaded, LAN address" 192.168.1.1 "$(setting lan_ipaddr)"
with "stub /dev/mtd0" same "the board's MAC address from flash" "$board_mac" "$(setting lan_assign_mac)"
with "stub /dev/mtd0" same "the board's WPS PIN from flash" "$board_pin" "$(setting wsc_device_pin)"
with "stub /dev/mtd0" same "/var/wps_pin" "$board_pin" "$(cat "$root/var/wps_pin")"
with "stub /dev/mtd0" same "/tmp/version" "$board_version" "$(cat "$root/tmp/version")"
same "br0's address" 192.168.1.1/24 "$(lan_address)"
with "stub /dev/mtd0" same "eth2.1's MAC address" "$board_mac" "$(mac_of eth2.1)"
comes "mini_httpd runs" running mini_httpd
comes "udhcpd runs" running udhcpd
if command -v pppoe-relay >/dev/null; then
    comes "pppoe-relay runs" running pppoe-relay
else
    comes "pppoe-relay was started (a stub notes its command line)" \
        in_file '^/usr/sbin/pppoe-relay -C br0 -S eth2\.2$' /tmp/calls
fi
must_hold

step "Computers without a reservation get addresses of the pool"
ask_lease pc2
in_pool "pc2's address" 192.168.1.33 192.168.1.64 "$(lease_of pc2 address)"
same "its router" 192.168.1.1 "$(lease_of pc2 router)"
same "its name server" 192.168.1.1 "$(lease_of pc2 dns)"
same "its domain" lan "$(lease_of pc2 domain)"
same "lease time of one day, in seconds" 86400 "$(lease_of pc2 seconds)"
ask_lease pc1
in_pool "pc1's address" 192.168.1.33 192.168.1.64 "$(lease_of pc1 address)"
comes "both leases are in /var/udhcpd.leases" leased pc1 pc2

step "The web interface asks for the password"
comes "mini_httpd answers" answers pc2 "$page"
browse pc2 "$page"
same "without a password" 401 "$http_status"
same "the login prompt" 'WWW-Authenticate: Basic realm="Router(ANNEX A)"' "$(answer_line ^WWW-Authenticate)"
browse pc2 -u admin:wrong "$page"
same "with a wrong one" 401 "$http_status"
browse pc2 -u admin:1234 "$page"
same "with the right one" 200 "$http_status"
like "the page" "*The web server is up*" "$(answer_line 'web server')"
browse pc2 -u admin:1234 "${page}status.cgi"
same "the status program" dhcp_start_ip=192.168.1.33 "$(answer_line ^dhcp_start_ip)"

step "Two computers get reservations, one of them has a lease of the pool"
console nvram set "pcdb_list=pc1;192.168.1.40;${pc_mac[pc1]}"$'\x01'"printer;192.168.1.41;$printer_mac"
console rc dhcpd restart
same "pc1's record in /var/udhcpd.leases" 192.168.1.40 "$(lease_record "${pc_mac[pc1]}")"
same "pc2's record" "$(lease_of pc2 address)" "$(lease_record "${pc_mac[pc2]}")"
same "the printer's record" 192.168.1.41 "$(lease_record "$printer_mac")"
comes "udhcpd runs" running udhcpd
ask_lease pc1
same "pc1's address" 192.168.1.40 "$(lease_of pc1 address)"

step "The pool moves"
console nvram set dhcp_start_ip=192.168.1.36
console nvram set dhcp_end_ip=192.168.1.45
console rc dhcpd restart
ask_lease pc2
in_pool "pc2's next address" 192.168.1.36 192.168.1.45 "$(lease_of pc2 address)"
ask_lease pc1
same "pc1 keeps its reserved address" 192.168.1.40 "$(lease_of pc1 address)"

step "The password changes"
console nvram set http_password=open-sesame
console rc httpd restart
comes "mini_httpd answers" answers pc1 "$page"
browse pc1 -u admin:1234 "$page"
same "the old password" 401 "$http_status"
browse pc1 -u admin:open-sesame "$page"
same "the new one" 200 "$http_status"
console rc httpd stop
comes "mini_httpd has ended" not_running mini_httpd
browse pc1 -u admin:open-sesame "$page"
same "the status of a request to the stopped server" 000 "$http_status"

step "A power cut: committed settings survive, uncommitted ones do not"
console nvram commit
console nvram set device_name=Forgotten
echo "(the router is switched off and on)"
power_off
power_on || exit 1
console rc init
same "a committed setting" 192.168.1.36 "$(setting dhcp_start_ip)"
same "a setting not committed" Router "$(setting device_name)"
comes "udhcpd runs" running udhcpd
ask_lease pc1
same "pc1's address" 192.168.1.40 "$(lease_of pc1 address)"
comes "mini_httpd answers" answers pc1 "$page"
browse pc1 -u admin:open-sesame "$page"
same "the changed password" 200 "$http_status"
