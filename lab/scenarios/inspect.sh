# What rcplan inspect says of a router's archive: nothing of a router as it should be, and of a planted fault just that.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"
# shellcheck source=lib/inspect.sh
. "$lab/lib/inspect.sh"

if [ ! -x "$build/bin/rcplan" ]; then
    echo "this build has no rcplan (RC_WORKSTATION is off)"
    exit 77
fi
if ! find_iptables; then
    echo "no iptables here for the router's rules: $lacks"
    exit 77
fi
new_provider

# all_on: the board's boot script, with all that a board starts.
all_on() {
    power_on || exit 1
    install_firewall
    install -m 755 "$lab/adapters/daemon" "$root/usr/sbin/pppoe-relay"
    boot_starts_all
    console rc init
    comes "the WAN is up: /tmp/wan_uptime" on_router /tmp/wan_uptime
    services_started
}

# report: leaves in $report what inspect says of the router now.
report() {
    router nvram bundle - > "$world/bundle" || failed "the archive"
    report=$("$build/bin/rcplan" inspect "$world/bundle")
}

# says_nothing WHAT: inspect finds nothing but notes.
says_nothing() {
    report
    with "real" same "$1" "Nothing deviates." "$(grep -E '^[0-9]+ deviation|^Nothing' <<< "$report")"
    grep -q '^Nothing deviates' <<< "$report" || printf '%s\n' "$report" | sed 's/^/      | /'
}

# plant WHAT DEVIATIONS SCRIPT [REPAIR]: runs a script on the router, compares the headlines of what inspect finds then
# ("process udhcpd; file /etc/udhcpd.conf"), and repairs it.
plant() {
    router sh -c "$3" > "$world/output" 2>&1
    wait_until at_rest
    report
    same "$1" "$2" "$(sed -nE '/^(note: |[0-9]+ deviation|Nothing)/d; /^[a-z]/p' <<< "$report" | sed ':a; N; $!ba; s/\n/; /g')"
    [ $# -lt 4 ] || router sh -c "$4" > "$world/output" 2>&1
    wait_until at_rest
}
filter='chain FORWARD of table filter'

step "The router is switched on, with the provider at its WAN port and settings for most services"
power_on || exit 1
console nvram load
console nvram set "fw_in_rules=web:1:x:8000:80:tcp:9"$'\x01'"mail:1:x:25:25:tcp:10"
console nvram set "rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"
console nvram set "pcdb_list=printer;192.168.1.40;02:00:00:00:00:31"
console nvram set upnp_enable=1 upnp_adv_time=1800 upnp_ttl=4
console nvram set igmp_enable=1 igmp_port=0
console nvram set ddns_enable=1 ddns_service_provider=dyndns ddns_user_name=attic ddns_password=open-sesame
console nvram set ddns_host_name=attic.example.net qos_enable=1 wan_bandwidth=2000
console nvram commit
power_off
all_on
says_nothing "a router after its boot"

# after_restarts APPLICATION...: nor of a router on which one of them was restarted.
after_restarts() {
    local application
    for application; do
        router rc "$application" restart > "$world/output" 2>&1
        wait_until at_rest
        says_nothing "after rc $application restart"
    done
}

of_an_access_point=(lan wlan syslogd httpd dhcpd ntp)
of_a_router=("${of_an_access_point[@]}" route ripd upnp wan_basic firewall igmp schedule ddns)

step "After each application's restart"
after_restarts "${of_a_router[@]}"

step "Daemons"
plant "the DHCP server has ended" "process udhcpd" "killall udhcpd" "/usr/sbin/udhcpd /etc/udhcpd.conf &"
plant "the web server has ended" "process mini_httpd" "killall mini_httpd" "rc httpd start"
plant "the time client has ended" "process ntp" "killall ntp"
plant "the time client has another zone" "process ntp" "/usr/sbin/ntp -z MET-1 &" "rc ntp restart"
plant "the DHCP client has ended" "process udhcpc" "killall -9 udhcpc" "rm /tmp/ntp_start; /usr/sbin/udhcpc -i eth2.2 -s /etc/udhcpc.script -H &"
services_started
plant "the UPnP daemon has ended" "process upnpd" "killall upnpd" "rc upnp start"
plant "the multicast proxy runs twice" "process IGMPProxy" "/usr/sbin/IGMPProxy -n eth2.2 &" "rc igmp restart"
plant "the PPPoE relay has ended" "process pppoe-relay" "killall pppoe-relay" "/usr/sbin/pppoe-relay -C br0 -S eth2.2 &"

step "The packet filter"
tables=/usr/lab/iptables
plant "a rule of the first forward is gone" "rule chain PF of table nat" "$tables -t nat -D PF 1"
like "its setting and entry" "*fw_in_rules entry 1*" "$report"
router rc firewall restart > "$world/output" 2>&1
plant "a door for telnet" "rule chain INPUT of table filter" \
    "$tables -I INPUT -p tcp --dport 23 -j ACCEPT" "$tables -D INPUT 1"
plant "a policy" "rule chain FORWARD of table filter" "$tables -P FORWARD ACCEPT" "$tables -P FORWARD DROP"
plant "a chain of somebody else" "rule chain OTHER of table filter" "$tables -N OTHER" "$tables -X OTHER"
plant "a port mapping of the UPnP daemon is nobody's fault" "" \
    "$tables -t nat -A UPNP -p tcp --dport 4711 -j DNAT --to 192.168.1.33" "$tables -t nat -F UPNP"
plant "a forward to another port" "rule chain PF of table nat; rule chain PF of table nat" \
    "$tables -t nat -R PF 1 -d \$(ifconfig eth2.2 | sed -n 's/.*addr:\([^ ]*\).*/\1/p') -p tcp --dport 8000 -j DNAT --to 192.168.1.9:81" \
    "rc firewall restart"

plant "a rule at another place" "rule chain INPUT of table filter" \
    "$tables -S INPUT | sed -n 2p > /tmp/first; \
$tables -D INPUT 1; eval $tables -A INPUT \$(sed 's/^-A INPUT //' /tmp/first)" "rc firewall restart"
plant "the translation is gone" "rule chain POSTROUTING of table nat" "$tables -t nat -D POSTROUTING 1" \
    "rc firewall restart"

step "Files"
plant "a line is added to the DHCP server's configuration" "file /etc/udhcpd.conf" \
    "cp /etc/udhcpd.conf /tmp/kept; echo 'option wins 192.168.1.9' >> /etc/udhcpd.conf"
plant "the file is gone" "file /etc/udhcpd.conf" "rm /etc/udhcpd.conf" "mv /tmp/kept /etc/udhcpd.conf"
plant "the web server's password file is gone" "file /tmp/htpasswd" "rm /tmp/htpasswd" "rc httpd create"
plant "a line of the log's configuration is changed" "file /tmp/syslog.conf" \
    "sed -i s/log_enable=1/log_enable=0/ /tmp/syslog.conf" "rc syslogd create"
plant "the radio's settings are changed by hand" "file /var/RT2860AP.dat" \
    "cp /var/RT2860AP.dat /tmp/kept; sed -i s/^SSID=.*/SSID=other/ /var/RT2860AP.dat" "mv /tmp/kept /var/RT2860AP.dat"
plant "a job is added to the crontab" "file /var/crontab" "echo '0 3 * * * reboot' >> /var/crontab" "rc schedule create"
plant "the radio's marker is gone" "file /var/wifi_on" "rm /var/wifi_on" "echo wifi_on > /var/wifi_on"
plant "the lease file is damaged" "file /var/udhcpd.leases" "echo x >> /var/udhcpd.leases" \
    "rm /var/udhcpd.leases; rc dhcpd restart"
plant "the lease file has lost the reservation" "file /var/udhcpd.leases" ": > /var/udhcpd.leases" "rc dhcpd restart"

step "Settings"
plant "a setting is changed, and nothing else" "setting lan_lease_time; file /etc/udhcpd.conf" "nvram set lan_lease_time=5"
plant "the same in flash: committed, but not in use" "file /etc/udhcpd.conf" "nvram commit" \
    "nvram set lan_lease_time=1; nvram commit; rc dhcpd restart"
# Long enough for the slowest machine: the times in an archive are not taken at once.
plant "the file is written, but the server is older" "process udhcpd" \
    "sleep 15; nvram set lan_lease_time=5; nvram commit; rc dhcpd create" "nvram set lan_lease_time=1; nvram commit; rc dhcpd restart"
plant "a setting that nothing in use depends on" "setting http_timeout_note" "nvram set http_timeout_note=1" \
    "nvram unset http_timeout_note"

step "Interfaces and routes"
plant "the radio's interface is down" "interface ra0" "ifconfig ra0 down" "ifconfig ra0 up"
plant "the radio's interface is not in the bridge" "interface ra0" "brctl delif br0 ra0" "brctl addif br0 ra0"
plant "another MTU" "interface eth2.2" "ifconfig eth2.2 mtu 1400" "ifconfig eth2.2 mtu 1500"
plant "another netmask, which takes the routes along" "interface br0; route 10.1.0.0; route 239.0.0.0" \
    "ifconfig br0 netmask 255.255.0.0" "rc lan restart; rc route restart; rc upnp restart"
plant "the route to the office is gone" "route 10.1.0.0" "route del -net 10.1.0.0 netmask 255.255.0.0" "rc route restart"
plant "no default route" "wan wan (dhcpc)" "route del default" "route add default gw $provider_gateway"
plant "the link's marker is gone" "wan wan (dhcpc)" "mv /tmp/wan_uptime /tmp/kept" "mv /tmp/kept /tmp/wan_uptime"

step "Traps"
plant "a run of rc has left its marker" "trap /var/run/rc.dhcpd.run" "echo /proc/uptime > /var/run/rc.dhcpd.run" \
    "rm /var/run/rc.dhcpd.run"
plant "a run of rc has left its process id" "trap /var/run/my_pid_wan" "echo 99999 > /var/run/my_pid_wan" \
    "rm /var/run/my_pid_wan"
plant "a file of rc has another program's id" "trap /var/run/my_pid" "pidof mini_httpd > /var/run/my_pid" "rm /var/run/my_pid"
plant "a full file system" "trap file system /mnt" \
    "mkdir -p /mnt; mount -t tmpfs -o size=64k none /mnt; cat /bin/busybox > /mnt/full" "umount /mnt"
plant "a log that keeps the DDNS client from starting" "trap /tmp/ddns_update.log" "echo 14 > /tmp/ddns_update.log" \
    "rm /tmp/ddns_update.log"
says_nothing "after all repairs"

step "With a fixed address"
console nvram set wan_mode=ip fix_ipaddr=203.0.113.7 fix_gateway=203.0.113.1 wan_dns1=203.0.113.53
console nvram commit
power_off
all_on
says_nothing "a router after its boot"
after_restarts "${of_a_router[@]}"
plant "no default route" "route 0.0.0.0" "route del default" "route add default gw $provider_gateway"
plant "the port has another address, which takes the default route along" "interface eth2.2; route 0.0.0.0" "ifconfig eth2.2 203.0.113.8"

step "As an access point"
console nvram set ap_mode=1 ap_gateway=192.168.1.1 ap_dns=192.168.1.53 lan_ipaddr=192.168.1.2
console nvram commit
power_off
power_on || exit 1
console rc init
comes "mini_httpd runs" running mini_httpd
wait_until at_rest
says_nothing "an access point after its boot"
after_restarts "${of_an_access_point[@]}"
plant "the web server has ended" "process mini_httpd" "killall mini_httpd"
