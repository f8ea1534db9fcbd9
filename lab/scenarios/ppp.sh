# The WAN by L2TP, PPTP and PPPoE: Debian's pppd reads the options and files that rc writes. No link is set up, because the
# kernel has no PPP.
# shellcheck shell=bash
# The password has all characters that are special to a shell.
# shellcheck disable=SC1003,SC2016

user=user@provider.example
password='a"b$c'\''d\e%f'
server=198.51.100.90

if ! pppd_there; then
    echo "Debian's pppd is not installed (package ppp)"
    exit 77
fi
new_provider

dns_redirected() {
    local rule='-I PREROUTING -t nat -i br0 -p udp --dport 53 -d 192\.168\.1\.1 -j DNAT --to 10\.112\.112\.112'
    comes "the LAN's name look-ups are redirected (a stub notes the rule)" \
        in_file "^/usr/sbin/iptables $rule\$" /tmp/calls
    rm -f "$root/tmp/calls"
}

# copied_script NAME: whether /tmp/ppp/ip-up is that script of /etc/ppp.
copied_script() {
    if cmp -s "$root/etc/ppp/$1" "$root/tmp/ppp/ip-up"; then
        passed "/tmp/ppp/ip-up is /etc/ppp/$1"
    else
        failed "/tmp/ppp/ip-up is not /etc/ppp/$1"
    fi
}

step "L2TP over a leased address: the lease comes first, and its event script starts the WAN again"
power_on || exit 1
install_pppd
console nvram load
console nvram set wan_mode=l2tp
console nvram set "l2tp_server=$server"
console nvram set "l2tp_username=$user"
console nvram set "l2tp_password=$password"
console nvram commit
console rc init
for_step "$(how_of /usr/sbin/l2tpd)"
pppd_takes "nodetach; maxfail 0; unit 0; pty true; mtu 1464; noipdefault; defaultroute; usepeerdns"
must_hold
for_step
leased=$(address_of eth2.2)
via udhcpc in_pool "eth2.2's address" 203.0.113.100 203.0.113.120 "${leased%/24}"
via udhcpc like "the route to the server, set by the event script" "* via $provider_gateway dev eth2.2*" "$(route_to "$server")"
same "/tmp/ppp/options" "noipdefault; mtu 1464; nodetach; defaultroute; maxfail 0; unit 0; usepeerdns" \
    "$(lines_of /tmp/ppp/options)"
same "/tmp/l2tp/l2tpd.conf" "[global]; port = 1701; [lac]; lns = $server; defaultroute = yes; autodial = yes; \
redial = yes; redial timeout = 30; refuse authentication = yes; refuse pap = no; refuse chap = no; name = $user; \
pppoptfile = /tmp/ppp/options" "$(lines_of /tmp/l2tp/l2tpd.conf)"
dns_redirected
copied_script ip-up
for kind in pap chap; do
    same "pppd finds $user in /tmp/ppp/$kind-secrets" yes "$(secret_found "$kind" "$user")"
    same "and for another name" no "$(secret_found "$kind" somebody)"
    # rc's quoting is meant for a shell. pppd removes it too, but leaves the percent sign doubled.
    same "the password there, as pppd reads it" 'a"b$c'\''d\e%%f' "$(secret_word "/tmp/ppp/$kind-secrets")"
done

comes "the event script has ended" event_script_ended

step "PPTP over a fixed address, dialling on demand"
console nvram set wan_mode=pptp
console nvram set pptp_type=1
console nvram set pptp_ipaddr=203.0.113.7
console nvram set "pptp_fix_gateway=$provider_gateway"
console nvram set "pptp_wan_dns1=$provider_dns"
console nvram set "pptp_server=$server"
console nvram set "pptp_username=$user"
console nvram set "pptp_password=$password"
console nvram set pptp_dod=1
forget_pppd
console rc wan restart
pppd_takes "idle 300; demand; user $user; password ??????; pty pptp $server  --nolaunchpppd; mtu 1462; \
lcp-echo-failure 3; noipdefault; defaultroute; usepeerdns"
same "the password on pppd's command line" "$password" "$(pppd_word password)"
comes "the lease is released" given_back "${leased%/24}"
same "eth2.2's address" 203.0.113.7/24 "$(address_of eth2.2)"
same "the default route is left to the tunnel" "" "$(default_route)"
like "the route to the server" "* via $provider_gateway dev eth2.2*" "$(route_to "$server")"
same "the name server" "nameserver $provider_dns" "$(lines_of /etc/resolv.conf)"
dns_redirected
copied_script ip-up-demand

step "PPPoE with a fixed address and a named service"
console nvram set wan_mode=pppoe
console nvram set "pppoe_username=$user"
console nvram set "pppoe_password=$password"
console nvram set "pppoe_service=gold line"
console nvram set wan_iptype_pppoe=Fixed
console nvram set pppoe_ipaddr=203.0.113.8
forget_pppd
console rc wan start
pppd_takes "nodetach; maxfail 0; plugin pppoe.so; user $user; password ??????; eth2.2; pppoe-service gold line; \
mtu 1492; lcp-echo-failure 3; lcp-echo-interval 10; noipdefault; defaultroute; usepeerdns; 203.0.113.8:"
# Inside double quotes the shell removes the backslash before each of these characters except the single quote.
same "the password on pppd's command line" 'a"b$c\'\''d\e%f' "$(pppd_word password)"
comes "pppd's output is in /var/ppp_dbg" in_file '^pppd options in effect' /var/ppp_dbg
same "eth2.2's MTU" 1492 "$(mtu_of eth2.2)"
dns_redirected
copied_script ip-up
comes "the services are restarted: /tmp/ntp_start" on_router /tmp/ntp_start
