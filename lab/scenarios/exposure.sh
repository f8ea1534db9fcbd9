# Thousands of packets through the kernel's rules: the rows of `rcplan exposure`, `rcplan packet` and the kernel agree on
# each; and the openings of `rcplan diff` contain every packet that a changed rule sends elsewhere.
# Without arguments a sample is played; lab/exposure gives the arguments of tests/kernel/kernel_exposure from PACKETS on.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"

kernel_exposure=$build/tests/kernel/kernel_exposure
factory=$lab/root/etc/default
full_house=$lab/../bench/full_house.txt

if [ ! -x "$kernel_exposure" ]; then
    echo "this build has no tests/kernel/kernel_exposure (RC_WORKSTATION or RC_TESTS is off, or it has sanitizers)"
    exit 77
fi
if ! find_iptables; then
    echo "no iptables here for the router's rules: $lacks"
    exit 77
fi

# The router is a network namespace without programs: two interfaces, which know no other MAC address than their own, so
# that no packet waits for an answer to ARP.
connect_filter() {
    local pair interface
    new_net filter
    for pair in "far_lan br0" "far_wan eth2.2"; do
        cable "${pair% *}" "${pair#* }" filter
        ip link set "${pair% *}" arp off
        in_net filter ip link set "${pair#* }" arp off up
    done
    in_net filter ip addr add 192.168.1.1/24 brd + dev br0
    in_net filter ip addr add 203.0.113.7/32 dev eth2.2
    in_net filter ip route add default via 203.0.113.1 dev eth2.2 onlink
    # Today's kernel lets a source that is a broadcast address pass if it knows no local route but those of its addresses.
    # With one, now or before, it looks at the source as kernels of the router's age do.
    in_net filter ip route add local 127.1.2.3 dev lo
    in_net filter ip route del local 127.1.2.3 dev lo
    # shellcheck disable=SC2016  # The inner shell's own words.
    in_net filter sh -c '
        cd /proc/sys/net/ipv4 && echo 1 > ip_forward && echo 1000 > igmp_max_memberships
        for interface in all default br0 eth2.2; do
            echo 0 > conf/$interface/rp_filter
            echo 0 > conf/$interface/send_redirects
        done'
}

# play MODE WORDS...: a check for each router.
play() {
    local verdict text status
    XTABLES_LOCKFILE=$world/xtables.lock "$kernel_exposure" "$1" "$world/net/filter" "$iptables-restore" "$factory" \
        "${@:2}" > "$world/played" 2>&1
    status=$?
    while read -r verdict text; do
        case $verdict in
        ok) with "real packets" passed "$text" ;;
        FAIL) with "real packets" failed "$text" ;;
        *) echo "        $verdict $text" ;;
        esac
    done < "$world/played"
    [ "$status" -lt 2 ] || failed "kernel_exposure ended with status $status"
}

# moved: how many packets the last changes have sent elsewhere.
moved() {
    sed -n 's/.*packets, \([0-9]*\) moved;.*/\1/p' "$world/played" | awk '{ sum += $1 } END { print sum + 0 }'
}

connect_filter
if [ $# -gt 0 ]; then
    step "The rules in the kernel: $*"
    play "$@"
    return 0
fi

step "Packets inside and outside of all rows"
play agree 3000 "$factory"
play agree 500 "$full_house"
play agree 1000 "random 3 0 4"

step "Changes of single rules: a rule dropped, two swapped, the next port"
play changes 300 0 1 "$factory"
play changes 300 0 150 "$full_house"
play changes 300 0 4 "random 3 0 1"
like "of the last ones, some have sent packets elsewhere" "[1-9]*" "$(moved)"
