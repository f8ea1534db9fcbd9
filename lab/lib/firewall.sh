# The real iptables and tc in the router, and the rules and counters that they report.
# shellcheck shell=bash

# One rule for each match and target that the router's scripts use, for an unreferenced chain.
firewall_needs() {
    cat << 'END'
filter -m state --state NEW
filter -m mac --mac-source 02:00:00:00:00:01
filter -m pkttype --pkt-type broadcast
filter -m limit --limit 5/s
filter -m mark --mark 1
filter -m iprange --src-range 192.0.2.1-192.0.2.2
filter -m string --string text --algo kmp
filter -p tcp -m tcpmss --mss 1461:
filter -p tcp --tcp-flags SYN,RST SYN -j TCPMSS --set-mss 1460
filter -j LOG
filter -p tcp -j REJECT --reject-with tcp-reset
nat -m statistic --mode random --probability 0.5
nat -j MASQUERADE
nat -j DNAT --to 192.0.2.1
nat -j SNAT --to 192.0.2.1
nat -j NFQUEUE --queue-num 65000
mangle -j MARK --set-mark 1
mangle -j TTL --ttl-set 64
END
}

# firewall_lacks PROGRAM: the first of those rules that it refuses here, and its message.
firewall_lacks() {
    # shellcheck disable=SC2016  # The inner shell's own words.
    firewall_needs | in_net trial sh -c '
        program=$1
        for table in filter nat mangle; do
            "$program" -w -t "$table" -N trial 2>&1 || exit
        done
        while read -r table rule; do
            # shellcheck disable=SC2086
            message=$("$program" -w -t "$table" -A trial $rule 2>&1) || { echo "-t $table $rule: $message"; exit; }
        done' sh "$1" | head -n 1
}

# find_iptables: leaves the program in $iptables, or the reason in $lacks. The two kinds of iptables use different parts of
# the kernel, and a kernel may have only one of these.
find_iptables() {
    local program reason
    iptables=
    lacks="it is not installed (see lab/packages.txt)"
    new_net trial
    export XTABLES_LOCKFILE=$world/xtables.lock
    for program in iptables-legacy iptables-nft; do
        program=$(command -v "$program") || continue
        reason=$(firewall_lacks "$program")
        if [ -z "$reason" ]; then
            iptables=$program
            break
        fi
        lacks="${program##*/} $reason"
    done
    unset XTABLES_LOCKFILE
    drop_net trial
    [ "$iptables" ]
}

# install_firewall: replaces the stubs; call it after power_on.
install_firewall() {
    local plugin
    # Where iptables keeps its lock.
    mkdir -p "$root/run"
    install -D -m 755 "$iptables" "$root/usr/lab/iptables"
    install_libraries "$root/usr/lab/iptables"
    for plugin in /usr/lib/*/xtables/lib{xt,ipt}_*.so; do
        install -D -m 755 "$plugin" "$root$plugin"
    done
    install -D -m 755 "$(command -v tc)" "$root/usr/lab/tc"
    install_libraries "$root/usr/lab/tc"
    install -m 755 "$lab/adapters/iptables" "$lab/adapters/iptables-save" "$lab/adapters/tc" "$root/usr/sbin/"
    # The router's kernel does not show the frames of a bridge to iptables.
    router sh -c 'cd /proc/sys/net/bridge 2>/dev/null && echo 0 > bridge-nf-call-iptables'
}

# The adapters record the lines of a start: "changed" are those that they translated, "refused" those that failed in both
# forms.
forget_firewall() {
    rm -f "$root"/var/lab/{iptables,tc}.{changed,refused}
}

noted() {
    via "$1"
    cat "$root/var/lab/$1.$2" 2>/dev/null
}

# qos_is_up NUMBER: the script of QoS, which is started in the background, has ended, and there are that many rules.
qos_is_up() {
    rule_counts mangle FORWARD "$1" && ! router pidof qos.conf
}

# rule_counts TABLE CHAIN NUMBER: the chain has that many rules.
rule_counts() {
    [ "$(rules "$1" "$2" '-A' | wc -l)" = "$3" ]
}

# rules TABLE CHAIN [TEXT]: the rules of the chain that contain the text, with counters, as "iptables -v -S" prints them; an
# empty CHAIN means all chains.
rules() {
    via iptables
    router /usr/lab/iptables -w -t "$1" -v -S ${2:+"$2"} | grep -F -- "${3--}"
}

# plain_rules TABLE CHAIN [TEXT]: the same without counters.
plain_rules() {
    via iptables
    rules "$@" | sed -E 's/ -c [0-9]+ [0-9]+//'
}

# packets TABLE CHAIN TEXT: how many packets matched the rules with that text.
packets() {
    rules "$@" | awk '{ for (i = 1; i < NF; i++) if ($i == "-c") sum += $(i + 1) } END { print sum + 0 }'
}

# counted WHAT TABLE CHAIN TEXT: at least one packet matched.
counted() {
    local count
    count=$(packets "$2" "$3" "$4")
    with "real packets"
    if [ "$count" -gt 0 ]; then
        passed "$1: $count packets"
    else
        failed "$1: no packet"
    fi
}

# class_bytes DEVICE CLASS: how many bytes that class of QoS has sent.
class_bytes() {
    with "real packets" via tc
    router /usr/lab/tc -s class show dev "$1" | awk -v class="$2" '
        $1 == "class" { wanted = $3 == class }
        wanted && $1 == "Sent" { print $2 }'
}
