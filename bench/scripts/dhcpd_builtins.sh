#!/bin/sh
# Writes the files of rc dhcpd create with the shell's built-ins only. It begins with an empty lease file, because the
# shell cannot read the zero bytes of an existing one.
# shellcheck disable=SC2034,SC2154 # the settings come from the image
# shellcheck disable=SC2059 # the records are escapes of printf
# shellcheck disable=SC2086 # lists are split on purpose; nothing in them is a pattern, for -f is set
# shellcheck disable=SC3003,SC3043,SC3057,SC3060 # busybox knows $'', local, ${::} and ${//}
set -f
SOH=$'\001'

read_settings() {
    while IFS= read -r line; do
        case $line in
        dhcp_* | lan_* | pcdb_list=* | wan_domain=*) ;;
        *) continue ;;
        esac
        value=${line#*=}
        case $value in
        *\\*) value=${value//\\x01/$SOH} ;;
        esac
        eval "${line%%=*}=\$value"
    done < /tmp/nvram
}

given() { [ -n "$1" ] && [ "$1" != 0.0.0.0 ]; }

write_name_servers() {
    found=
    if [ "$dhcp_server_extended_option" = enable ] && given "$dhcp_dns_ip"; then
        found=$dhcp_dns_ip
        echo "option	dns	$dhcp_dns_ip"
    elif [ -r /etc/resolv.conf ] && ! given "$dhcp_dns_ip"; then
        while read -r word server _; do
            [ "$word" = nameserver ] || continue
            found=$server
            echo "option	dns	$server
"
        done < /etc/resolv.conf
    fi
    [ -n "$found" ] || echo "option	dns	$lan_ipaddr"
}

write_config() {
    router=$lan_ipaddr
    [ "$dhcp_server_extended_option" = enable ] && given "$dhcp_gateway_ip" && router=$dhcp_gateway_ip
    echo "server		$lan_ipaddr
start		$dhcp_start_ip
end		$dhcp_end_ip
interface	$lan_if
option	subnet	$lan_netmask
option	router	$router
option	lease	$((lan_lease_time * 86400))
option	domain	$wan_domain"
    write_name_servers
}

# Numbers as printf's escapes of octal digits: $escapes
escapes_of() {
    escapes=
    for number in "$@"; do
        escapes=$escapes\\$((number >> 6))$((number >> 3 & 7))$((number & 7))
    done
}

write_leases() {
    first_octet=${lan_ipaddr%%.*}
    local IFS=$SOH
    for record in $pcdb_list; do
        IFS=';'
        set -- $record
        name=${1:0:15}
        mac=$3
        IFS=.
        set -- $2
        [ "$4" -le "${dhcp_end_ip##*.}" ] || continue
        [ "$4" -ge "${dhcp_start_ip##*.}" ] || continue
        escapes_of "$first_octet" "$2" "$3" "$4"
        address=$escapes
        IFS=:
        set -- $mac
        escapes_of "0x$1" "0x$2" "0x$3" "0x$4" "0x$5" "0x$6"
        padding='\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'
        printf "$escapes\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0$address\\001\\341\\063\\200%s${padding:$((2 * ${#name}))}" "$name"
    done
}

read_settings
write_config > /etc/udhcpd.conf
write_leases > /var/udhcpd.leases
