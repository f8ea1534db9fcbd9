# The router dials by PPTP and L2TP.
# shellcheck shell=bash

# The other links are checked without the services, which would react to them.
console nvram set qos_enable=0
# The schedule's checks have changed time_daylight, which the log's configuration has too.
router rc syslogd restart > "$world/output" 2>&1

step "PPTP over a fixed address, with MS-CHAP v2 and MPPE as the server demands"
for_step "adapter pppd"
start_pptp_server
router nvram import - << END
wan_mode=pptp
pptp_type=1
pptp_ipaddr=203.0.113.7
pptp_fix_gateway=$provider_gateway
pptp_wan_dns1=$provider_dns
pptp_server=$tunnel_server
pptp_username=$links_user
pptp_password=${password//\\/\\\\}
END
# The firewall accepts the call's GRE packets only if the kernel tracks PPTP connections. A kernel of the router's age does
# so if it has the helper; a current kernel must be configured to, or the firewall drops the answers.
router /usr/lab/iptables -w -t raw -A OUTPUT -p tcp --dport 1723 -j CT --helper pptp
# The options that rc gives to pppd do not request MPPE, and then Debian's pppd refuses it. A board whose providers need
# MPPE enables it in pppd's options file.
echo require-mppe-128 > "$root/etc/ppp/options"
console nvram commit
console rc wan start
comes "the link is up: /tmp/wan_uptime, and an address of ppp0" link_is_up
same "ppp0's address" 10.65.0.2 "$(address_of ppp0)"
like "the route to the server" "* via $provider_gateway dev eth2.2*" "$(route_to "$tunnel_server")"
comes "the name servers, which ip-up writes" lines_are /etc/resolv.conf \
    "nameserver $provider_dns; nameserver $second_dns"
comes "both ends agree on MPPE" grep -q 'MPPE 128-bit stateless compression enabled' "$world/pptp.log"
services_started
reaches "a page of the Internet through the tunnel" shop 10.65.0.2 pc1 "http://$shop/cgi-bin/who"
rm "$root/etc/ppp/options"
# The call is tracked by now; the rule is not rc's.
router /usr/lab/iptables -w -t raw -F OUTPUT
firewall_once
archive "a router with a PPTP tunnel" ""
after_restarts
router route del -host "$tunnel_server"
archive "the route to the tunnel's server is gone" "route $tunnel_server"
router route add -host "$tunnel_server" gw "$provider_gateway"
router killall pppd
comes "pppd has ended, and ppp0 is gone" link_is_down
archive "pppd has ended" "wan wan (pptp); process pppd"
console rc wan stop
comes "pppd has ended, and ppp0 is gone" link_is_down

step "L2TP over a fixed address, with MS-CHAP v2"
for_step "adapter l2tpd, adapter pppd"
# No percent sign, which would stay doubled in pppd's secrets: see docs/lab.md.
password=${password%\%*}
links_secrets "$password"
start_l2tp_server
router nvram import - << END
wan_mode=l2tp
l2tp_type=1
l2tp_ipaddr=203.0.113.7
l2tp_server=$provider_gateway
l2tp_username=$links_user
l2tp_password=${password//\\/\\\\}
END
console nvram commit
console rc wan start
comes "the link is up: /tmp/wan_uptime, and an address of ppp0" link_is_up
same "ppp0's address" 10.66.0.2 "$(address_of ppp0)"
services_started
reaches "a page of the Internet through the tunnel" shop 10.66.0.2 pc1 "http://$shop/cgi-bin/who"
firewall_once
archive "a router with an L2TP tunnel" ""
after_restarts
console rc wan stop
comes "pppd has ended, and ppp0 is gone" link_is_down
