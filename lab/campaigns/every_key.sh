# Every key: what `nvram apply` leaves of a change is what a boot with the changed settings leaves, and going back leaves
# what was there before. Arguments: the group in every_key.txt, and which of its changes (the first and the last).
# For each change the router is booted with it; then it is taken back, and made again.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"
# shellcheck source=lib/trial.sh
. "$lab/lib/trial.sh"

group=$1
first=$2
last=$3
changes=()
starts=()

# read_changes FILE: fills $starts with the settings of [house] and of the group, and $changes with its changes.
read_changes() {
    local line now=
    while IFS= read -r line; do
        case $line in
        '' | '#'*) ;;
        '['*) now=${line:1:-1} ;;
        'with '*) [ "$now" != house ] && [ "$now" != "$group" ] || starts+=("$(printf %b "${line#with }")") ;;
        *) [ "$now" != "$group" ] || changes+=("$(printf %b "$line")") ;;
        esac
    done < "$1"
    changes=("${changes[@]:first-1:last-first+1}")
}

# The board's boot script with all that a board starts. The name of the provider's server is in the router's own list,
# because there is no name server.
switch_on() {
    power_on || exit 1
    install_firewall
    if pppd_there; then install_pppd; fi
    install -m 755 "$lab/adapters/daemon" "$root/usr/sbin/ez-ipupdate"
    echo "203.0.113.1 tunnel.example.net other.example.net" > "$root/etc/hosts"
    # Without printk: in a box, nobody may change what the kernel prints.
    sed -i -e '/rc httpd start/d; /rc dhcpd start/d' -e "s,^/usr/sbin/rc lan start,/usr/sbin/syslogd \&\n\
for app in lan wlan syslogd httpd dhcpd ntp route ripd upnp; do /usr/sbin/rc \$app start; done," "$root/etc/rcS_router"
    router rc init > "$world/output" 2>&1
}

# Nothing of rc is under way.
at_rest() {
    event_script_ended && ! router pidof rc qos.conf nvram > /dev/null && gone /var/run/my_pid_service
}

# settled_state: waits until the state has stayed the same for four seconds; prints it.
settled_state() {
    local before=none now same=0 from=$SECONDS
    while [ "$same" -lt 8 ]; do
        sleep 0.5
        if ! at_rest; then
            same=0
            [ $((SECONDS - from)) -lt "$hang_limit" ] || break
            continue
        fi
        now=$(state)
        if [ "$now" = "$before" ]; then same=$((same + 1)); else same=0; fi
        before=$now
    done
    printf '%s\n' "$now"
}

# leaves WHAT FILE: the router settles into the state of that file.
leaves() {
    local same=0 from=$SECONDS
    while :; do
        # rc's own pauses are seconds, in which nothing changes; what is under way shows as a process.
        if ! at_rest; then
            same=0
            [ $((SECONDS - from)) -lt "$hang_limit" ] || break
        else
            state > "$world/state.now"
            if cmp -s "$2" "$world/state.now"; then
                passed "$1"
                return
            fi
            same=$((same + 1))
            [ "$same" -lt 12 ] || break
        fi
        sleep 0.5
    done
    failed "$1: $(diff "$2" "$world/state.now" | sed 's/^</without:/; s/^>/with:/')"
}

# apply SETTING: says in $at_boot whether it takes effect at the next boot only.
apply() {
    printf '%s\n' "$1" > "$root/tmp/change"
    console nvram apply --force /tmp/change || failed "apply of $1"
    at_boot=$(said "takes effect at the next boot")
    links_come_up
}

# There is no tunnel and no login here. Where a link's own script would start the services, they are started by hand.
links_come_up() {
    case $(setting wan_mode) in
    pptp | l2tp | bpa | ras)
        wait_until at_rest
        router rc service restart > /dev/null 2>&1
        ;;
    esac
}

# compares WHAT FILE: as `leaves`, unless apply has said that only a boot brings the change.
compares() {
    if [ "$at_boot" ]; then
        passed "$1: apply says that it $at_boot"
    else
        leaves "$1" "$2"
    fi
}

find_iptables || echo "without iptables: $lacks"
read_changes "$lab/campaigns/every_key.txt"
new_provider
step "[$group], change $first to $last: the settings to start from"
power_on || exit 1
console nvram load
router nvram set "${starts[@]}"
console nvram check
console nvram commit
power_off
switch_on
links_come_up
settled_state > "$world/state.start"
declare -A start_of
for change in "${changes[@]}"; do
    start_of[$change]=${change%%=*}=$(setting "${change%%=*}")
done

before=
for change in "${changes[@]}"; do
    step "$(display "$change")"
    router nvram set "$change" ${before:+"$before"}
    before=${start_of[$change]}
    router nvram commit
    power_off
    switch_on
    links_come_up
    settled_state > "$world/state.booted"
    if cmp -s "$world/state.start" "$world/state.booted"; then echo "  (nothing that rc leaves depends on it here)"; fi
    apply "$before"
    compares "back: as a boot without it" "$world/state.start"
    apply "$change"
    compares "made: as a boot with it" "$world/state.booted"
done
