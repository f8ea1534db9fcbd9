#!/bin/sh
# Writes the files of rc dhcpd create in the usual style: a call of nvram for each setting, commands in pipes.
# It begins with an empty lease file.
# shellcheck disable=SC2013 # a name server is one word
# shellcheck disable=SC2059 # the records are escapes of printf

given() { [ -n "$1" ] && [ "$1" != 0.0.0.0 ]; }

write_name_servers() {
    dns=$(nvram get dhcp_dns_ip)
    if [ "$extended" = enable ] && given "$dns"; then
        echo "option	dns	$dns"
        return
    fi
    if given "$dns" || ! grep -q 'nameserver.*[0-9]' /etc/resolv.conf; then
        echo "option	dns	$(nvram get lan_ipaddr)"
        return
    fi
    for server in $(grep nameserver /etc/resolv.conf | cut -d' ' -f2); do
        printf 'option\tdns\t%s\n\n' "$server"
    done
}

write_config() {
    extended=$(nvram get dhcp_server_extended_option)
    router=$(nvram get dhcp_gateway_ip)
    [ "$extended" = enable ] && given "$router" || router=$(nvram get lan_ipaddr)
    echo "server		$(nvram get lan_ipaddr)
start		$(nvram get dhcp_start_ip)
end		$(nvram get dhcp_end_ip)
interface	$(nvram get lan_if)
option	subnet	$(nvram get lan_netmask)
option	router	$router
option	lease	$(($(nvram get lan_lease_time) * 86400))
option	domain	$(nvram get wan_domain)"
    write_name_servers
}

# Hexadecimal digits, two a byte, as printf's escapes.
bytes() { echo "$1" | sed 's/../\\x&/g'; }

write_leases() {
    first_octet=$(nvram get lan_ipaddr | cut -d. -f1)
    first_host=$(nvram get dhcp_start_ip | cut -d. -f4)
    last_host=$(nvram get dhcp_end_ip | cut -d. -f4)
    for record in $(nvram get pcdb_list | tr '\001' '\n'); do
        name=$(echo "$record" | cut -d';' -f1 | cut -c1-15)
        address=$(echo "$record" | cut -d';' -f2)
        mac=$(echo "$record" | cut -d';' -f3 | tr -d :)
        host=$(echo "$address" | cut -d. -f4)
        if [ "$host" -gt "$last_host" ] || [ "$host" -lt "$first_host" ]; then continue; fi
        number=$(echo "$address" | awk -F. -v first="$first_octet" '{ printf "%02x%02x%02x%02x", first, $2, $3, $4 }')
        hex=$(printf '%s' "$name" | od -An -tx1 | tr -d ' \n')
        record=$(printf '%s00000000000000000000%s01e13380%s' "$mac" "$number" "$hex")
        printf "$(bytes "$(printf '%-80s' "$record" | tr ' ' 0)")"
    done
}

write_config > /etc/udhcpd.conf
write_leases > /var/udhcpd.leases
