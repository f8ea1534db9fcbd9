# The remaining services one by one: the log, static routes, UPnP, RIP, the clock, the radio. Then the whole groups, with
# the router's state before and after.
# shellcheck shell=bash

# shellcheck source=lib/services.sh
. "$lab/lib/services.sh"

wan=203.0.113.7
subject="Attic router"
# shellcheck disable=SC2016  # Its dollar sign is one.
password='open "sesame"=%s $x'

if ! "$lab/kernel_log" 0 true 2>/dev/null; then
    echo "rc's calls to the kernel's console cannot be answered here: perl or seccomp is missing"
    exit 77
fi

# bare_boot: the boot script up to the bridge, without the services. The PPPoE relay of the boot is a stub that ends at
# once; a real one would appear in the list of processes at any time.
bare_boot() {
    install -m 755 "$lab/adapters/stub" "$root/usr/sbin/pppoe-relay"
    sed -i '/^# The address comes first/,$d' "$root/etc/rcS_router"
    console rc init
    console sh -c '/usr/sbin/syslogd &'
    comes "syslogd runs, as it always does on the router" on_router /var/lab/syslogd.ready
}

new_pc pc1 02:00:00:00:00:11

step "The router is switched on, with settings for all of its services; nothing is connected to the WAN port yet"
power_on || exit 1
console nvram load
# The log.
console nvram set mail_sender=router@example.net
console nvram set log_enable=1
console nvram set mail_enable=1
console nvram set mail_enable_auth=0
console nvram set mail_logfull=80
console nvram set mail_server=mail.example.net
console nvram set mail_recipient=owner@example.net
console nvram set mail_login=attic
console nvram set "mail_password=$password"
console nvram set "mail_title=$subject"
console nvram set mail_dos=1
console nvram set mail_portscan=0
console nvram set mail_block=1
console nvram set time_zone=MET-1
console nvram set time_daylight=0
console nvram set log_type=2
console nvram set log_remote_ip=192.168.1.9
console nvram set log_login=1
console nvram set log_gateway=0
console nvram set log_dos=1
console nvram set log_block=0
# Routes, RIP, UPnP and the multicast proxy.
console nvram set "rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"
console nvram set rt_rip_direction=i
console nvram set rt_rip_version=2B
console nvram set upnp_enable=1
console nvram set upnp_adv_time=1800
console nvram set upnp_ttl=4
console nvram set igmp_enable=1
console nvram set igmp_version=3
# The clock.
console nvram set ntp_custom=1
console nvram set ntp_server=time.example.net
# The radio: two networks, WPA2 with RADIUS, WPS, and a list of permitted computers.
console nvram set wifi_dot11_mode=7
console nvram set wifi_ssid=attic
console nvram set enable_ssid2=1
console nvram set wifi_ssid2=guests
console nvram set wifi_wep_on=6
console nvram set h_wsc_enable=1
console nvram set wifi_wsc_configured=1
console nvram set wifi_access_control=1
console nvram set "wifi_access_list=${pc_mac[pc1]}"$'\x01'"02:00:00:00:00:12"
console nvram commit
bare_boot
console rc lan start
same "br0's address" 192.168.1.1/24 "$(lan_address)"
must_hold

step "The log: syslogd gets the signal to read its settings again"
# Written this way because editors remove blanks at the end of a line.
blank=' '
console rc syslogd start
via syslogd comes "it has read all of them" cmp -s "$root/tmp/syslog.conf" "$root/var/lab/syslogd.conf"
syslog_is "$root/tmp/syslog.conf" << END
mail_sender=router@example.net
log_enable=1
mail_enable=1
mail_enable_auth=0
mail_log_full=80
mail_server=mail.example.net
mail_receiver=owner@example.net
mail_login=attic
mail_password=$password
mail_subject=$subject
mail_subject_alert=Alert! $subject
mail_keyword=[DOS]  [BLOCK]
TZ=MET-1
daylight=0
log_remote_ip=192.168.1.9
log_auth=1
log_syslog=0
log_local0=1
log_keyword=[DOS] [PORT SCAN]$blank
END

step "The log goes to the whole LAN instead, without alerts, and without a title"
console nvram set mail_title=
console nvram set mail_dos=0
console nvram set mail_block=0
console nvram set log_type=1
console nvram set log_dos=0
console rm /var/lab/syslogd.conf
console rc syslogd restart
via syslogd comes "syslogd has read it" cmp -s "$root/tmp/syslog.conf" "$root/var/lab/syslogd.conf"
syslog_is "$root/var/lab/syslogd.conf" << END
mail_sender=router@example.net
log_enable=1
mail_enable=1
mail_enable_auth=0
mail_log_full=80
mail_server=mail.example.net
mail_receiver=owner@example.net
mail_login=attic
mail_password=$password
mail_subject=Security Log
mail_subject_alert=Alert! Security Log
mail_keyword=$blank$blank
TZ=MET-1
daylight=0
log_remote_ip=192.168.1.255
log_auth=1
log_syslog=0
END
console rc syslogd stop
comes "syslogd survives a stop" running syslogd

step "A static route"
console rc route start
same "in the kernel's table" "10.1.0.0/16 via 192.168.1.254 dev br0 metric 2" "$(route_for 10.1.0.0/16)"
like "the route of a packet" "10.1.2.3 via 192.168.1.254 dev br0 *" "$(route_to 10.1.2.3)"
same "/etc/gateways" "host 10.1.0.0 netmask 255.255.0.0 gateway 192.168.1.254 metric 2 static" \
    "$(lines_of /etc/gateways)"
same "/tmp/sroute" "10.1.0.0 255.255.0.0 192.168.1.254" "$(lines_of /tmp/sroute)"
console rc route stop
same "in the kernel's table after a stop" "" "$(route_for 10.1.0.0/16)"
same "/etc/gateways" "" "$(lines_of /etc/gateways)"

step "RIP and the clock (stubs that note their command lines and run until they are stopped)"
console rc ripd start
called routed "/usr/sbin/routed eth2.2 -v 2 -b -x -s"
console rc ripd stop
comes "routed has ended" not_running routed
console rc ntp start
called ntp "/usr/sbin/ntp -z MET-1 -h time.example.net"
comes "/tmp/ntp_start" on_router /tmp/ntp_start
console rc ntp stop
comes "ntp has ended" not_running ntp
comes "/tmp/ntp_start is gone" gone /tmp/ntp_start

step "UPnP: its multicasts go to the LAN while it runs"
same "the route for them" "" "$(route_for 239.0.0.0/8)"
console rc upnp start
same "the route for them" "239.0.0.0/8 dev br0 scope link" "$(route_for 239.0.0.0/8)"
like "the route of an announcement" "multicast 239.255.255.250 dev br0 *" "$(route_to 239.255.255.250)"
called upnpd "/usr/sbin/upnpd eth2.2 br0 1800 4"
console touch /tmp/upnptab
console rc upnp stop
same "the route after a stop" "" "$(route_for 239.0.0.0/8)"
comes "upnpd has ended" not_running upnpd
comes "its table is gone" gone /tmp/upnptab

step "The radio: ra0 is a virtual cable; its driver and daemons are stubs"
rm "$root/tmp/calls"
console rc wlan start
called wscd "/usr/sbin/wscd -m 1 -a 192.168.1.1 -i ra0"
called rt2860apd "/usr/sbin/rt2860apd "
same "the driver's command lines, in order" "/sbin/insmod /lib/modules/2.6.21/kernel/drivers/net/wireless_3200/\
rt2860v2_ap/rt2860v2_ap.ko mac=$board_mac; /sbin/insmod /lib/modules/br_seperate.ko if0=br0 if1=ra1 mode=0; \
/sbin/iwpriv ra0 set WscConfMode=7; \
/sbin/iwpriv ra0 set WscConfStatus=2; /sbin/iwpriv ra0 set WscGenPinCode=$board_pin; \
/sbin/iwpriv ra0 set AccessPolicy=1; /sbin/iwpriv ra1 set AccessPolicy=1; \
/sbin/iwpriv ra0 set ACLAddEntry=${pc_mac[pc1]};02:00:00:00:00:12" "$(calls '^/sbin/')"
same "the driver's settings file, the networks' names" "SSID=attic;guests" "$(grep ^SSID= "$root/var/RT2860AP.dat")"
same "the mode of the access list's script" 3567 "$(stat -c %a "$root/tmp/wifi_acc")"
same "the bridge" "eth2.1 ra0" "$(bridge_ports)"
like "ra0" "up in br0, *" "$(interface_state ra0)"
same "WPS's route" "239.255.255.250 dev br0 scope link" "$(route_for 239.255.255.250)"
same "/var/wifi_on" wifi_on "$(lines_of /var/wifi_on)"
rm "$root/tmp/calls"
console rc wlan stop
same "the driver's command lines" "/sbin/rmmod br_seperate; /sbin/rmmod rt2860v2_ap; /sbin/rmmod rt2860v2_sta" \
    "$(calls)"
same "the bridge" eth2.1 "$(bridge_ports)"
like "ra0" "down, *" "$(interface_state ra0)"
same "/var/wifi_off" wifi_off "$(lines_of /var/wifi_off)"
comes "/var/wifi_on is gone" gone /var/wifi_on
# A stop ends wscd only if WPS is off; the access point's daemon runs until the next start.
same "a stop leaves WPS's route" "239.255.255.250 dev br0 scope link" "$(route_for 239.255.255.250)"
comes "and wscd" running wscd
comes "and rt2860apd" running rt2860apd

step "The router is switched off and on, with WPS and RADIUS off and everything else on; nothing is started yet"
console nvram set enable_ssid2=0
console nvram set h_wsc_enable=0
console nvram set wifi_wep_on=0
console nvram set wan_mode=ip
console nvram set "fix_ipaddr=$wan"
console nvram set "fix_gateway=$provider_gateway"
console nvram set wan_dns1=203.0.113.53
console nvram set ddns_enable=1
console nvram set ddns_service_provider=ddns.example
console nvram set ddns_user_name=user
console nvram set ddns_password=secret
console nvram set ddns_host_name=attic.example
console nvram commit
new_provider
echo "(the router is switched off and on)"
power_off
power_on || exit 1
bare_boot
console sh -c 'echo 0 > /proc/sys/net/ipv4/ip_forward'
names=$(interfaces_of_router)
declare -A before
for name in $names; do
    before[$name]=$(interface_state "$name")
    echo "$name: ${before[$name]}"
done
routes_before=$(routes)
comes "process 1, its pause and syslogd run, and nothing else" processes_named init sleep syslogd
processes_before=$(processes)
echo "routes: ${routes_before:-none}"
echo "processes: $processes_before"

step "The box may not turn off the kernel's console, which belongs to the whole machine: a start of everything ends there"
if "$lab/kernel_log" refuses; then
    console rc start
else
    echo "(this kernel would permit it: the refusal is the lab's)"
    console_control 1 rc start
fi
same "lan, which comes before it, is started: br0's address" 192.168.1.1/24 "$(lan_address)"
comes "no application after it was: the same processes are there" processes_are "$processes_before"
same "/tmp/syslog.conf" "" "$(lines_of /tmp/syslog.conf)"
same "the radio" "" "$(lines_of /var/wifi_on)$(calls insmod)"

step "The whole router is started; from now on the lab answers rc's calls that turn the console off and on"
console_control 0 rc start
console rc wan start
group_started || exit 1
called IGMPProxy "/usr/sbin/IGMPProxy -n eth2.2"
for daemon in mini_httpd udhcpd ntp routed upnpd; do
    comes "$daemon runs" running "$daemon"
done
same "the bridge" "eth2.1 ra0" "$(bridge_ports)"
same "eth2.2" "up, MTU 1500, MAC $board_wan_mac, $wan/24" "$(interface_state eth2.2)"
same "the routes" "10.1.0.0/16 via 192.168.1.254 dev br0 metric 2; 192.168.1.0/24 dev br0 proto kernel scope link \
src 192.168.1.1; 203.0.113.0/24 dev eth2.2 proto kernel scope link src $wan; 239.0.0.0/8 dev br0 scope link; \
default via $provider_gateway dev eth2.2" "$(routes)"
same "the kernel's IGMP version on eth2.2" 3 "$(igmp_version)"
same "the kernel forwards" 1 "$(router cat /proc/sys/net/ipv4/ip_forward)"
via syslogd comes "syslogd has read its settings" on_router /var/lab/syslogd.conf
ask_lease pc1
in_pool "pc1's address" 192.168.1.33 192.168.1.64 "$(lease_of pc1 address)"
comes "mini_httpd answers" answers pc1 http://192.168.1.1/
browse pc1 -u admin:1234 http://192.168.1.1/
same "the web interface" 200 "$http_status"
with "real packets" comes "the provider answers a ping" answers_ping router "$provider_gateway"

step "The services are stopped, then the rest, then the WAN"
console rc service stop
comes "IGMPProxy has ended" not_running IGMPProxy
same "the kernel's IGMP version on eth2.2" 0 "$(igmp_version)"
console_control 0 rc stop
console rc wan stop

step "The router is as it was before the start"
for_step "adapter kernel_log"
comes "the same processes run, and no others" processes_are "$processes_before"
same "processes" "$processes_before" "$(processes)"
same "interfaces" "$(xargs <<< "$names")" "$(interfaces_of_router | xargs)"
# The LAN has no stop: port, bridge, address and the network's route remain.
before[eth2.1]="up in br0, MTU 1500, MAC $board_mac"
before[br0]="up, MTU 1500, MAC $board_mac, 192.168.1.1/24"
routes_before="192.168.1.0/24 dev br0 proto kernel scope link src 192.168.1.1"
# A stop of the WAN removes the port's address. The port stays up and keeps its MAC address.
before[eth2.2]="up, MTU 1500, MAC $board_wan_mac"
for name in $names; do
    same "$name" "${before[$name]}" "$(interface_state "$name")"
done
same "routes" "$routes_before" "$(routes)"

step "Back to the factory settings; then an upgrade that keeps the user's own services"
console nvram set restore_default=1
console nvram commit
console rc init
same "the WAN's mode" dhcpc "$(setting wan_mode)"
same "the board's MAC address" "$board_mac" "$(setting lan_assign_mac)"
console nvram set fw_services_def=FTP:tcp:21-21
console nvram set upgrade_default=1
console nvram commit
console rc init
same "the user's services" FTP:tcp:21-21 "$(setting fw_services_def)"
same "the upgrade is done" 0 "$(setting upgrade_default)"
