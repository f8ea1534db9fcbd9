# State of the router for the checks.
# shellcheck shell=bash

running() {
    via "$1"
    router pidof "$1"
}

not_running() {
    via "$1"
    ! router pidof "$1"
}

# The names of the stubs whose command lines match.
callers() {
    local lines path
    lines=$(grep -E -- "$1" "$root/tmp/calls" 2>/dev/null) || lines=$(grep -oE '/[a-z]+(/[a-z]+)?/[A-Za-z0-9_-]+' <<< "$1")
    while read -r path _; do
        [ ! -e "$root$path" ] || how_of "$path"
    done <<< "$lines" >> "$world/how"
}

# in_file PATTERN PATH. For /tmp/calls, which stubs write, the stub's name is looked up after the match, so that a line
# appended between the two readings cannot be missing in the look-up.
in_file() {
    local status=0
    grep -q -- "$1" "$root$2" || status=$?
    [ "$2" != /tmp/calls ] || callers "$1"
    return "$status"
}

setting() {
    router nvram get "$1"
}

lan_address() {
    address_of br0
}

address_of() {
    router ip -4 addr show dev "$1" | sed -nE 's/.*inet ([^ ]+) .*/\1/p'
}

mtu_of() {
    router ip link show dev "$1" | sed -nE 's/.* mtu ([0-9]+) .*/\1/p'
}

on_router() {
    [ -e "$root$1" ]
}

gone() {
    [ ! -e "$root$1" ]
}

# A file's lines as one, separated by "; ".
lines_of() {
    [ ! -e "$root$1" ] || awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }' "$root$1"
}

lines_are() {
    [ "$(lines_of "$1")" = "$2" ]
}

# The script that the DHCP client runs when it gets a lease calls actions of rc, and starts the services last of all,
# in the background.
event_script_ended() {
    ! router pidof udhcpc.script udhcpc.fix.script udhcpc.l2tp.script
}

# services_are_up: `rc service restart` has run to its end.
services_are_up() {
    on_router /tmp/ntp_start && event_script_ended && ! router pidof rc && gone /var/run/my_pid_service
}

# The services are started in the background; the firewall alone pauses 4 s.
services_started() {
    comes "the services were started" services_are_up
}

mac_of() {
    router ip link show dev "$1" | sed -nE 's,.*link/ether ([^ ]+) .*,\1,p'
}

# The address that the router's lease file, in its own 40-byte records, holds for a MAC address.
lease_record() {
    local record
    record=$(router xxd -p -c 40 /var/udhcpd.leases | grep "^${1//:/}") || return 1
    printf '%d.%d.%d.%d' "0x${record:32:2}" "0x${record:34:2}" "0x${record:36:2}" "0x${record:38:2}"
}

# leased PC...: whether the lease file has each computer's address.
leased() {
    local pc
    via udhcpd
    for pc; do
        [ "$(lease_record "${pc_mac[$pc]}")" = "$(lease_of "$pc" address)" ] || return 1
    done
}

bridge_ports() {
    local ports
    ports=$(in_net router ip -o link show master br0 | sed -E 's/^[0-9]+: ([^@:]+).*/\1/' | xargs)
    [[ " $ports " != *' ra0 '* ]] || with "stub radio"
    echo "$ports"
}

default_route() {
    router ip route | sed -nE 's/^default via ([^ ]+) dev ([^ ]+).*/\1 \2/p'
}

route_to() {
    router ip route get "$1" | head -n 1
}
