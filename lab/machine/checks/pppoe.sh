# The PPPoE session that the boot has dialled.
# shellcheck shell=bash

step "PPPoE: dialled by rc wan start, with a password of special characters and a named service"
for_step "adapter pppd"
wan=$(address_of ppp0)
same "ppp0's address" 10.64.0.2 "$wan"
same "its peer" 10.64.0.1 "$(router ip -4 addr show dev ppp0 | sed -nE 's/.* peer ([0-9.]+).*/\1/p')"
same "the default route" ppp0 "$(router ip route | sed -nE 's/^default (via [^ ]+ )?dev ([^ ]+).*/\2/p')"
comes "the name servers, which ip-up writes" lines_are /etc/resolv.conf \
    "nameserver $provider_dns; nameserver $second_dns"
# shellcheck disable=SC2154  # The password that the provider has, set where this file is read.
same "the password on pppd's command line" "$password" "$(sed -n '/^password$/{n;p;q}' "$root/var/lab/pppd.words")"
same "the user name and service there" "$links_user; gold line" \
    "$(awk '/^(user|pppoe_srv_name)$/ { getline; printf "%s%s", separator, $0; separator = "; " }' \
        "$root/var/lab/pppd.words")"
same "eth2.2's MTU" 1492 "$(mtu_of eth2.2)"
mtu=$(mtu_of ppp0)
# pppd subtracts the eight bytes of PPPoE from the port's 1492.
same "ppp0's MTU" 1484 "$mtu"
same "the MAC address that the provider sees" "$board_wan_mac" \
    "$(ps | sed -n 's/.*[p]ppoe .* -e [0-9]*:\([0-9a-f:]*\).*/\1/p' | sort -u)"
services_started

step "What rcplan inspect says, on the host, of the router with a PPPoE session"
firewall_once
archive "a router that has dialled" ""
after_each_restart
