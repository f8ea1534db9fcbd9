# Changes on trial: what is confirmed stays, and everything else ends with the router as it was: time that runs out, a
# client that is shut out, a killed guard, services that are restarted in between, and a power cut at each step.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"
# shellcheck source=lib/trial.sh
. "$lab/lib/trial.sh"

wan=203.0.113.7
managed=http://$wan:8080/

if ! find_iptables; then
    echo "no iptables here for the router's rules: $lacks"
    exit 77
fi

switch_on() {
    power_on || exit 1
    install_firewall
    hold_rc
    console rc init
}

# The provider's manager gets the web server's answer, which asks for the password.
manager_gets_in() {
    with "real packets" via iptables via mini_httpd
    [ "$(in_net provider curl -s -m "$hang_limit" -o /dev/null -w '%{http_code}' "$managed" 9>&-)" = 401 ]
}

manager_is_shut_out() {
    with "real packets" via iptables
    ! in_net provider curl -s -m 5 -o /dev/null "$managed" 9>&-
}

lan_answers() {
    browse pc1 -u admin:open-sesame "http://$1/"
    same "the page at $1" 200 "$http_status"
}

new_pc pc1 02:00:00:00:00:11

step "The router is switched on with the factory settings, and stores them"
switch_on
console nvram commit
comes "mini_httpd runs" running mini_httpd
comes "udhcpd runs" running udhcpd
remember_state

step "A pool on trial; the power is cut before it is stored, before it is in use, and while it is on trial"
for_step
for place in "stop, with the old settings" "start, with the new ones" ""; do
    rm -f "$root/tmp/actions"
    if [ "$place" ]; then
        hold dhcpd "${place%%,*}"
        change_later "try --seconds 600" dhcp_start_ip=192.168.1.40
        comes "rc is held at dhcpd $place" held dhcpd "${place%%,*}"
        case $place in
        stop*) same "the settings" 192.168.1.33 "$(setting dhcp_start_ip)" ;;
        start*) same "the settings" 192.168.1.40 "$(setting dhcp_start_ip)" ;;
        esac
    else
        change "try --seconds 600" dhcp_start_ip=192.168.1.40
        same "the actions" "dhcpd stop 192.168.1.1; dhcpd start 192.168.1.1" "$(actions)"
    fi
    like "on trial" "on trial: dhcp_start_ip*" "$(router nvram trial | head -n 1)"
    same "what flash does not have" "" "$(not_in_flash | grep -v dhcp_start_ip)"
    echo "(the router is switched off and on)"
    power_off
    switch_on
    same "the settings" 192.168.1.33 "$(setting dhcp_start_ip)"
    comes "nothing is on trial" nothing_on_trial
    comes "mini_httpd runs" running mini_httpd
    comes "udhcpd runs" running udhcpd
    as_it_was
done

step "The power is cut while a trial is being undone, and after one was confirmed"
change "try --seconds 600" dhcp_start_ip=192.168.1.40
rm "$root/tmp/actions"
hold dhcpd start
router nvram undo > "$world/undone" 2>&1 &
comes "rc is held at dhcpd start, with the old settings" held dhcpd start
same "the settings" 192.168.1.33 "$(setting dhcp_start_ip)"
echo "(the router is switched off and on)"
power_off
switch_on
same "the settings" 192.168.1.33 "$(setting dhcp_start_ip)"
comes "mini_httpd runs" running mini_httpd
comes "udhcpd runs" running udhcpd
as_it_was
change "try --seconds 600" dhcp_start_ip=192.168.1.36
same "what flash does not have" dhcp_start_ip "$(not_in_flash)"
console nvram commit
like "commit refuses" "*on trial*" "$(said trial)"
console nvram confirm "$token"
same "what flash does not have" "" "$(not_in_flash)"
echo "(the router is switched off and on)"
power_off
switch_on
same "the settings" 192.168.1.36 "$(setting dhcp_start_ip)"
comes "udhcpd runs" running udhcpd

step "Everything is started: the Internet side, and what the boot script leaves out"
new_provider
console nvram set http_password=open-sesame wan_mode=ip "fix_ipaddr=$wan" "fix_gateway=$provider_gateway" \
    "wan_dns1=$provider_dns" fw_remote=1 fw_remote_type=3
for application in httpd wlan syslogd route wan; do console rc "$application" restart; done
services_started
console nvram commit
comes "the manager gets in" manager_gets_in
remember_state

step "The LAN moves on trial, and nobody follows it there"
ask_lease pc1
in_pool "pc1's address" 192.168.1.36 192.168.1.64 "$(lease_of pc1 address)"
lan_answers 192.168.1.1
rm -f "$root/tmp/actions"
hold dhcpd start
change_later "try --seconds 10" lan_ipaddr=192.168.7.1 lan_bipaddr=192.168.7.255 dhcp_start_ip=192.168.7.33 \
    dhcp_end_ip=192.168.7.64
comes "rc is held at dhcpd start, with the new settings" held dhcpd start
hold dhcpd stop
release dhcpd start
# Now it is on trial; the undoing is held at its first step.
comes "the time is up, and the undoing begins" held dhcpd stop
same "br0's address" 192.168.7.1/24 "$(lan_address)"
in_net pc1 ip addr flush dev eth0
release dhcpd stop
comes "nothing is on trial" nothing_on_trial
services_started
like "the actions" "*dhcpd stop 192.168.1.1*lan start 192.168.7.1*dhcpd start 192.168.7.1*\
dhcpd stop 192.168.7.1*lan start 192.168.1.1*dhcpd start 192.168.1.1*" "$(actions)"
console nvram trial
like "the outcome" "*undone: not confirmed in time" "$(said outcome; said undone)"
same "br0's address" 192.168.1.1/24 "$(lan_address)"
comes "udhcpd runs" running udhcpd
as_it_was
ask_lease pc1
in_pool "pc1's address" 192.168.1.36 192.168.1.64 "$(lease_of pc1 address)"
lan_answers 192.168.1.1

step "The LAN moves on trial; its owner follows it there and confirms"
change "try --seconds 600" lan_ipaddr=192.168.7.1 lan_bipaddr=192.168.7.255 dhcp_start_ip=192.168.7.33 \
    dhcp_end_ip=192.168.7.64
in_net pc1 ip addr flush dev eth0
ask_lease pc1
in_pool "pc1's address" 192.168.7.33 192.168.7.64 "$(lease_of pc1 address)"
lan_answers 192.168.7.1
console nvram confirm "$token"
same "what flash does not have" "" "$(not_in_flash)"
comes "nothing is on trial" nothing_on_trial
services_started
remember_state

step "Two changes at once: the second one waits for its turn"
hold dhcpd stop
change_later "try --seconds 600" lan_lease_time=2
comes "rc is held at dhcpd stop" held dhcpd stop
change "try --seconds 600" device_name=Second
like "a second try is refused" "*under way; nothing was changed" "$(said nothing)"
change apply device_name=Second
like "apply, too" "*under way; nothing was changed" "$(said nothing)"
release dhcpd stop
comes "the first is on trial" is_on_trial_now
change "try --seconds 600" device_name=Second
like "a second trial is refused" "*is on trial; *nothing was changed" "$(said nothing)"

step "cron restarts all services meanwhile; then the owner undoes the change"
console rc service restart
services_started
console nvram undo
same "the setting" 1 "$(setting lan_lease_time)"
comes "udhcpd runs" running udhcpd
as_it_was

step "The guard is deaf to signals; when it is killed, undo still works"
change "try --seconds 600" lan_lease_time=2
guard=$(router pidof nvram)
for signal in HUP TERM INT QUIT USR1; do router kill "-$signal" "$guard"; done
same "the trial has its guard" true "$(router nvram trial --json | grep -o '"guarded":[a-z]*' | cut -d : -f 2)"
router kill -KILL "$guard"
comes "the guard has ended" not_running nvram
console nvram trial
like "trial tells so" "its guard has ended*" "$(said guard)"
console nvram undo
same "the setting" 1 "$(setting lan_lease_time)"
comes "udhcpd runs" running udhcpd
as_it_was

step "A manager at the WAN shuts himself out"
hold firewall start
change_later "try --seconds 10" fw_remote=0
comes "rc is held at firewall start, with the new settings" held firewall start
hold firewall stop
release firewall start
comes "the time is up, and the undoing begins" held firewall stop
same "the manager is shut out" yes "$(manager_is_shut_out && echo yes)"
release firewall stop
comes "nothing is on trial" nothing_on_trial
comes "the manager gets in again" manager_gets_in
services_started
as_it_was
