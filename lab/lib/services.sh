# Checks of the remaining services: a reader of /tmp/syslog.conf, and the router's interfaces, routes and processes.
# shellcheck shell=bash

# read_syslog_conf FILE: reads "name=value" line by line, as the log daemon does. Leaves the names, in order, in
# $syslog_names and the values in $syslog_values; fails at any other line.
declare -A syslog_values
read_syslog_conf() {
    local line
    syslog_names=
    syslog_values=()
    [ -s "$1" ] && [ -z "$(tail -c 1 "$1")" ] || return 1
    while IFS= read -r line; do
        [[ $line =~ ^[A-Za-z0-9_]+= ]] || return 1
        [ ! -v "syslog_values[${line%%=*}]" ] || return 1
        syslog_names+="${syslog_names:+ }${line%%=*}"
        syslog_values[${line%%=*}]=${line#*=}
    done < "$1"
}

# syslog_is FILE: the fields and their order are those of standard input, and there are no others.
syslog_is() {
    local line names='' reader=''
    # The file below /var/lab is the copy that syslogd has made.
    [[ $1 != */var/lab/* ]] || reader=syslogd
    if ! read_syslog_conf "$1"; then
        failed "${1#"$root"} does not consist of lines \"name=value\""
        return
    fi
    while IFS= read -r line; do
        names+="${names:+ }${line%%=*}"
        ${reader:+via "$reader"} same "syslogd's field ${line%%=*}" "${line#*=}" "${syslog_values[${line%%=*}]-(none)}"
    done
    ${reader:+via "$reader"} same "the fields in order" "$names" "$syslog_names"
}

# calls [PATTERN]: the stubs' command lines that match, separated by "; ".
calls() {
    grep -E -- "${1-.}" "$root/tmp/calls" 2>/dev/null | awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }'
    callers "${1-.}"
}

# called DAEMON LINE: the daemon's stub was started with that command line, and runs.
called() {
    comes "$1 was started" in_file "^/usr/sbin/$1 " /tmp/calls
    same "its command line" "$2" "$(calls "^/usr/sbin/$1 ")"
    comes "it runs" running "$1"
}

# The router's interfaces by name.
interfaces_of_router() {
    in_net router ip -o link | sed -E 's/^[0-9]+: ([^@:]+).*/\1/' | sort
}

# interface_state NAME: up or down, its bridge, MTU, MAC address and IP address.
interface_state() {
    [ "$1" != ra0 ] || with "stub radio"
    in_net router ip -o link show dev "$1" | awk '{
        state = $3 ~ /[<,]UP[,>]/ ? "up" : "down"
        for (i = 4; i < NF; i++) {
            if ($i == "mtu") mtu = $(i + 1)
            if ($i == "master") master = " in " $(i + 1)
            if ($i ~ /^link\//) mac = $(i + 1)
        }
        printf "%s%s, MTU %s, MAC %s", state, master, mtu, mac
    }'
    in_net router ip -o -4 addr show dev "$1" | awk '{ printf ", %s", $4 }'
}

# The routes, separated by "; ".
routes() {
    in_net router ip -4 route show table main | sed -E 's/ linkdown//; s/ +$//' | sort |
        awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }'
}

# route_for DESTINATION: that route, if any.
route_for() {
    in_net router ip -4 route show table main exact "$1" | sed -E 's/ linkdown//; s/ +$//'
}

# The router's processes except the one that lists them, each with its id.
processes() {
    # shellcheck disable=SC2016  # The inner shell's own id, which ps keeps.
    router sh -c 'echo $$; exec busybox ps -o pid,comm' |
        awk 'NR == 1 { own = $1 } NR > 2 && $1 != own { print $1, $2 }' | sort -n | xargs
}

# processes_named NAME...: exactly these processes run, in the order of their ids.
processes_named() {
    [ "$(processes | xargs -n 2 | cut -d ' ' -f 2 | xargs)" = "$*" ]
}

processes_are() {
    [ "$(processes)" = "$1" ]
}

group_is_up() {
    in_file ez-ipupdate /tmp/calls && gone /var/run/my_pid_service
}

# `rc service restart` runs in the background and takes seconds; the last service of the group is ddns.
group_started() {
    comes "the services were started, all of the group" group_is_up
}

# The IGMP version that is set for the WAN port; with 0 the kernel chooses.
igmp_version() {
    router cat /proc/sys/net/ipv4/conf/eth2.2/force_igmp_version
}

# console_control ERROR COMMAND...: as `console`, but the kernel's console control returns that error number (0: success)
# without reaching the kernel.
console_control() {
    local error=$1 status
    shift
    for_step "adapter kernel_log"
    printf 'router# %s\n' "$(display "$@")"
    : > "$world/output"
    "$lab/kernel_log" "$error" nsenter --target "$router_pid" --mount --net --pid --root --wd \
        env -i PATH=/bin:/sbin:/usr/sbin:/usr/bin HOME=/ LAB_BOX="$LAB_BOX" "$@" 9>&- >> "$world/output" 2>&1
    status=$?
    awk '{ print "      | " $0 }' "$world/output"
    return "$status"
}
