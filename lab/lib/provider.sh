# The provider at the router's WAN port: a DHCP server, a gateway, and a web server beyond the gateway.
# shellcheck shell=bash
#
# All addresses are those set aside for documentation.

provider_gateway=203.0.113.1
provider_dns=203.0.113.53
provider_server=198.51.100.80

# new_provider: connects a provider to the router's line. Its daemons run in the background.
new_provider() {
    local home=$world/provider
    mkdir -p "$home/www"
    new_net provider
    cable port_provider eth0 provider
    ip link set port_provider master line
    in_net provider ip addr add "$provider_gateway/24" dev eth0
    in_net provider ip link set eth0 up
    # Beyond the gateway: reachable only by a default route.
    in_net provider ip addr add "$provider_server/32" dev lo

    : > "$home/leases"
    # The check whether an address is in use lasts 2 s by default; 100 ms are plenty here.
    {
        echo "interface eth0"
        echo "start 203.0.113.100"
        echo "end 203.0.113.120"
        echo "lease_file $home/leases"
        echo "pidfile $home/udhcpd.pid"
        echo "option subnet 255.255.255.0"
        echo "option router $provider_gateway"
        echo "option dns $provider_dns"
        echo "option domain provider.example"
        # Ten hours, so that no scenario lasts until the lease is renewed.
        echo "option lease 36000"
    } > "$home/udhcpd.conf"
    in_net provider busybox udhcpd -a 100 "$home/udhcpd.conf" 9>&-

    echo "a page of the Internet" > "$home/www/index.html"
    in_net provider busybox httpd -p "$provider_server:80" -h "$home/www" 9>&-
}

# The provider's list of leases: MAC address, IP address, host name if the client sent one, time left. The server writes it
# some time after SIGUSR1, so this may read the previous list.
provider_leases() {
    with "real packets" via udhcpc
    kill -USR1 "$(cat "$world/provider/udhcpd.pid")"
    busybox dumpleases -f "$world/provider/leases" | sed 1d
}

# provider_lease ADDRESS: the host's name and the time left, "expired" once the lease is given back.
provider_lease() {
    provider_leases | awk -v address="$1" '$2 == address { $1 = $2 = ""; sub(/^ +/, ""); print }'
}

# leased_out ADDRESS PATTERN: whether the provider's entry for the address matches; to be used with wait_until.
leased_out() {
    # shellcheck disable=SC2053  # The right side is a pattern on purpose.
    [[ $(provider_lease "$1") == $2 ]]
}

# given_back ADDRESS: whether the lease is released; adapters/killall gives the client time to do so.
given_back() {
    via killall
    leased_out "$1" '*expired'
}

# The MAC address in the frames that came from an address.
seen_by_provider() {
    with "real packets"
    in_net provider ip neigh show "$1" dev eth0 | sed -n 's/.*lladdr \([^ ]*\).*/\1/p'
}
