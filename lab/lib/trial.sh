# Changes on trial: rc held at a chosen action, and the router's whole state as text.
# shellcheck shell=bash

# hold_rc: from now on each start of rc is noted in /tmp/actions with the LAN address that the settings have at that
# moment, and waits as long as its action is held.
hold_rc() {
    mv "$root/usr/sbin/rc" "$root/usr/lab/rc"
    cat > "$root/usr/sbin/rc" << 'END'
#!/bin/sh
echo "$* $(/usr/sbin/nvram get lan_ipaddr)" >> /tmp/actions
while [ -e "/tmp/hold.$1.$2" ]; do sleep 0.05; done
exec /usr/lab/rc "$@"
END
    chmod 755 "$root/usr/sbin/rc"
}

hold() {
    : > "$root/tmp/hold.$1.$2"
}

release() {
    rm "$root/tmp/hold.$1.$2"
}

# held APPLICATION ACTION: rc waits there now.
held() {
    [[ $(tail -n 1 "$root/tmp/actions" 2>/dev/null) == "$1 $2 "* ]]
}

# actions: what rc was called for, and with which LAN address, separated by "; ".
actions() {
    lines_of /tmp/actions
    rm -f "$root/tmp/actions"
}

# change VERB_AND_OPTIONS SETTING...: as one would type it; leaves the trial's token in $token.
change() {
    local words=$1
    shift
    printf '%s\n' "$@" > "$root/tmp/change"
    # shellcheck disable=SC2086  # Words.
    console nvram $words /tmp/change
    local status=$?
    token=$(sed -n 's/^token: //p' "$world/output")
    return "$status"
}

# change_later VERB_AND_OPTIONS SETTING...: the same in the background; what it prints goes to $world/later.
change_later() {
    local words=$1
    shift
    printf '%s\n' "$@" > "$root/tmp/change"
    printf 'router# nvram %s /tmp/change &\n' "$words"
    # shellcheck disable=SC2086
    router nvram $words /tmp/change > "$world/later" 2>&1 &
}

# said PATTERN: the last command printed such a line.
said() {
    grep -m 1 -e "$1" "$world/output"
}

is_on_trial_now() {
    grep -q '^on trial for ' "$world/later"
}

on_trial() {
    router nvram trial
}

nothing_on_trial() {
    ! on_trial
}

# not_in_flash: the keys whose values a power cut would lose.
not_in_flash() {
    router nvram diff @flash @working | sed -nE 's/^[-+] ([^=]+)=.*/\1/p' | sort -u | xargs
}

# state: what rc leaves on the router: addresses, routes, the bridge, rules, processes and files. Left out is what tells
# the time or grows with each run, and what belongs to the lab.
state() {
    local table
    in_net router ip -o addr | sed -E 's/^[0-9]+: //; s/ +valid_lft.*//; /inet6/d' | sort
    in_net router ip -4 route show table main | sed -E 's/ linkdown//; s/ +$//' | sort
    bridge_ports
    if [ -e "$root/usr/lab/iptables" ]; then
        # rc adds some rules again with each start of the WAN or of QoS, without taking away the former ones.
        for table in filter nat mangle; do router /usr/lab/iptables -w -t "$table" -S | awk '!seen[$0]++'; done
    fi
    # shellcheck disable=SC2016  # The inner shell's own words.
    router sh -c 'for process in /proc/[0-9]*; do
            [ "$process" = /proc/$$ ] || cat "$process/cmdline" 2>/dev/null | tr "\0" " " && echo
        done' | sed -E '/^$/d; /^(tr|sh -c for|sleep) /d; s/-p [0-9]+ *$//' | sort
    (cd "$root" && find tmp etc var -type f ! -path 'var/lab/*' ! -path 'tmp/nvram*' ! -path 'tmp/hold.*' \
        ! -path 'var/run/*.pid' ! -name calls ! -name actions ! -name change ! -name wan_uptime ! -name qostest \
        ! -name udhcpd.leases -exec sha256sum {} +) | sort -k 2
    router xxd -p -c 40 /var/udhcpd.leases 2>/dev/null | cut -c 1-40
}

remember_state() {
    state > "$world/state"
}

state_is_back() {
    state | cmp -s "$world/state" -
}

# as_it_was: the state becomes the one remembered, when the guard has ended and the daemons have started.
as_it_was() {
    if wait_until state_is_back; then
        passed "the router is as it was"
    else
        failed "the router is as it was: $(state | diff "$world/state" -)"
    fi
}
