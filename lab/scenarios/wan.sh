# The WAN without a tunnel: an address leased by the provider, and a fixed one.
# shellcheck shell=bash

users_mac=02:00:00:00:00:99
users_dns="nameserver 192.0.2.53; nameserver 192.0.2.54"

new_pc pc1 02:00:00:00:00:11
new_provider

# A page beyond the provider's gateway, requested by the router itself.
internet_page() {
    with "real packets"
    printf 'GET / HTTP/1.0\r\n\r\n' | router nc -w "$hang_limit" "$provider_server" 80 2>&1 | tr -d '\r' | sed '1,/^$/d'
}

# leased_address MAC: checks that the WAN has an address of the provider's pool, left in $leased, and sends with that MAC
# address.
leased_address() {
    leased=$(address_of eth2.2)
    via udhcpc in_pool "eth2.2's address" 203.0.113.100 203.0.113.120 "${leased%/24}"
    via udhcpc same "the default route" "$provider_gateway eth2.2" "$(default_route)"
    same "a page of the Internet" "a page of the Internet" "$(internet_page)"
    same "the MAC address that the provider sees" "$1" "$(seen_by_provider "${leased%/24}")"
}

step "The router is switched on, with the provider at its WAN port: factory settings ask for a leased address"
power_on || exit 1
console rc init
via udhcpc comes "the WAN is up: /tmp/wan_uptime" on_router /tmp/wan_uptime
must_hold
leased_address "$board_wan_mac"
via udhcpc same "the name servers" "domain provider.example; nameserver $provider_dns" "$(lines_of /etc/resolv.conf)"
comes "the provider lists that lease, without a host name" leased_out "${leased%/24}" '??:??:??'
comes "the services are restarted: /tmp/ntp_start" on_router /tmp/ntp_start
comes "the LAN's DHCP server has the provider's name server" \
    in_file "^option.dns.$provider_dns" /etc/udhcpd.conf
comes "udhcpd runs" running udhcpd
ask_lease pc1
same "pc1's name server" "$provider_dns" "$(lease_of pc1 dns)"

step "The WAN is stopped"
console rc wan stop
comes "the provider has received the release" given_back "${leased%/24}"
comes "udhcpc has ended" not_running udhcpc
same "eth2.2's address" "" "$(address_of eth2.2)"
same "the default route" "" "$(default_route)"
comes "/tmp/wan_uptime is gone" gone /tmp/wan_uptime
comes "/tmp/ntp_start is gone" gone /tmp/ntp_start

step "The user clones a MAC address, gives the router a name, and fixes the name servers"
console nvram set "wan_macaddr=$users_mac"
console nvram set wan_account=attic
console nvram set wan_fix_dns=1
console nvram set wan_dns1=192.0.2.53
console nvram set wan_dns2=192.0.2.54
console rc wan start
via udhcpc comes "the WAN is up" on_router /tmp/wan_uptime
leased_address "$users_mac"
comes "the provider lists that lease, with the host name attic" leased_out "${leased%/24}" 'attic ??:??:??'
comes "the name servers are the user's: $users_dns" lines_are /etc/resolv.conf "$users_dns"
# The event script may still be starting the services, which would run beside the restart of the WAN.
services_started

step "The provider gives a fixed address instead"
console nvram set wan_mode=ip
console nvram set fix_ipaddr=203.0.113.7
console nvram set fix_netmask=255.255.255.0
console nvram set "fix_gateway=$provider_gateway"
console nvram set wan_domain=office.example
console nvram set wan_fix_dns=0
console nvram set wan_mtu=1480
console rc wan restart
comes "the provider has received the release" given_back "${leased%/24}"
comes "udhcpc has ended" not_running udhcpc
same "eth2.2's address" 203.0.113.7/24 "$(address_of eth2.2)"
same "the default route" "$provider_gateway eth2.2" "$(default_route)"
same "the name servers" "domain office.example; $users_dns" "$(lines_of /etc/resolv.conf)"
same "/tmp/wan_uptime, a copy of /proc/uptime" 2 "$(wc -w < "$root/tmp/wan_uptime")"
same "a page of the Internet" "a page of the Internet" "$(internet_page)"
same "the MAC address that the provider sees" "$users_mac" "$(seen_by_provider 203.0.113.7)"
same "the MTU" 1480 "$(mtu_of eth2.2)"
comes "the services are restarted: /tmp/ntp_start" on_router /tmp/ntp_start
same "the LAN's name servers in the DHCP server's configuration" "192.0.2.53 192.0.2.54" \
    "$(awk '$2 == "dns" { print $3 }' "$root/etc/udhcpd.conf" | xargs)"
same "the LAN's domain there" office.example "$(awk '$2 == "domain" { print $3 }' "$root/etc/udhcpd.conf")"
comes "udhcpd runs" running udhcpd

step "A dynamic DNS client is configured"
console nvram set ddns_enable=1
console nvram set ddns_service_provider=ddns.example
console nvram set ddns_user_name=user
console nvram set ddns_password=secret
console nvram set ddns_host_name=attic.example
console rc ddns start
comes "the client was started (a stub notes its command line)" in_file \
    '^/usr/sbin/ez-ipupdate -S ddns\.example -u user:secret -h attic\.example -i eth2\.2 -b /tmp/ddns\.cache$' \
    /tmp/calls

step "A hostile provider: of what the network says, only addresses and plain names are taken"
# shellcheck disable=SC2016  # Not expanded here, and not on the router.
console env interface=eth2.2 ip=203.0.113.7 subnet=255.255.255.0 "router=203.0.113.1;reboot $provider_gateway" \
    'domain=xnameserver;echo pwned' 'dns=192.0.2.55;reboot 010.0.0.1 192.0.2.256 192.0.2.53 $(reboot)' \
    /etc/udhcpc.script bound
services_started
same "the name servers" "nameserver 192.0.2.53" "$(lines_of /etc/resolv.conf)"
same "the default route" "$provider_gateway eth2.2" "$(default_route)"
same "rules with the provider's words" "" "$(grep -e pwned -e reboot "$root/tmp/rules")"
console env interface=eth2.2 'ip=203.0.113.9;reboot' subnet=255.255.255.0 /etc/udhcpc.script bound
same "eth2.2's address" 203.0.113.7/24 "$(address_of eth2.2)"
console env 'DNS1=192.0.2.55;reboot' DNS2=192.0.2.54 /etc/ppp/ip-up-demand
same "the name servers of a PPP link" "nameserver 192.0.2.54" "$(lines_of /etc/resolv.conf)"

step "The WAN is stopped once more"
console rc wan stop
same "eth2.2's address" "" "$(address_of eth2.2)"
comes "/tmp/wan_uptime is gone" gone /tmp/wan_uptime
same "the status of a request to the stopped server" "" "$(internet_page 2>/dev/null)"
