# The same packet twice: put on a cable of the router in the box, and given to `rcplan packet` with the router's
# settings. Which rules it meets, and what becomes of it, must be the same.
# shellcheck shell=bash

# The first packet's id in its IP header; each has one of its own, by which it is found where it arrives.
packet_id=1000
# What the conditions and targets of the rules met so far were, one a line.
met=$world/met

# listen_for_packets: on both sides of the router.
listen_for_packets() {
    local side
    : > "$met"
    for side in lan wan; do
        in_net "$(net_of "$side")" perl "$lab/note_packets" eth0 "$world/arrived.$side" 9>&- &
        comes "$side: what arrives is noted" test -e "$world/arrived.$side"
    done
}

net_of() {
    if [ "$1" = lan ]; then echo pc1; else echo provider; fi
}

# near ADDRESS INTERFACE NET: a computer that answers nothing, and whose MAC address the router knows.
near() {
    router ip neigh replace "$1" lladdr "$(in_net "$3" cat /sys/class/net/eth0/address)" nud permanent dev "$2"
}

# on_wire SIDE WORDS...: puts a packet there.
on_wire() {
    local net mac
    net=$(net_of "$1")
    if [ "$1" = lan ]; then mac=$lan_mac; else mac=$wan_mac; fi
    shift
    in_net "$net" perl "$lab/send_packet" eth0 --id "$packet_id" --mac-dest "$mac" \
        --mac-source "$(in_net "$net" cat /sys/class/net/eth0/address)" "$@" 9>&-
}

# beforehand SIDE WORDS...: a packet that only prepares the next one.
beforehand() {
    packet_id=$((packet_id + 1000))
    on_wire "$@"
}

# remember_router [PATH...]: what `rcplan` must know of it besides the settings, and of files that were there before.
# To be done before the firewall is started.
remember_router() {
    local interface path
    {
        for interface in br0 eth2.2; do
            echo "interface $interface $(address_of "$interface" | cut -d / -f 1) $(mtu_of "$interface")"
        done
        for path in /etc/resolv.conf "$@"; do
            echo "file $path"
            sed 's/^/     | /; s/ $/\\s/' "$root$path"
        done
    } > "$world/router.world"
}

# planned WORDS...: what rcplan says after "rc firewall start", or after $action; one JSON object.
planned() {
    "$build/src/plan/rcplan" packet --json --no-why --settings "$root/tmp/nvram" --world "$world/router.world" \
        "$@" ${action:+$action}
}

# rule_counts TABLE CHAIN NUMBER: that many rules are there.
rule_counts() {
    [ "$(rules "$1" "$2" '-A' | wc -l)" = "$3" ]
}

# The rules and policies that a plan names: "filter FORWARD 3", "nat PREROUTING policy".
planned_hits() {
    grep -oE '"type":"(rule|policy)","table":"[a-z]+","chain":"[A-Z_]+"(,"rule":[0-9]+)?' <<< "$1" |
        sed -E 's/.*"table":"([a-z]+)","chain":"([A-Z_]+)"(,"rule":([0-9]+))?/\1 \2 \4/; s/ $/ policy/' | sort -u
}

# The same of the kernel: those that have counted something since forget_hits.
kernel_hits() {
    local table
    for table in filter nat mangle; do
        router /usr/lab/iptables -w -t "$table" -v -S | awk -v table="$table" '
            $1 == "-A" { place = ++rules[$2] }
            $1 == "-P" { place = "policy" }
            { for (i = 1; i < NF; i++) if ($i == "-c" && $(i + 1) > 0) print table, $2, place }'
    done | sort -u
}

forget_hits() {
    local table
    for table in filter nat mangle; do
        router /usr/lab/iptables -w -t "$table" -Z
    done
}

# own_hits PLAN HITS: without the chains that only answers of the router itself meet, and the one that its kernel did
# not have.
own_hits() {
    local other='^nat INPUT |^[a-z]+ OUTPUT '
    [[ $1 == *'"verdict":"accept"'*'"out":"br0"'* || $1 == *'"verdict":"accept"'*'"out":"eth2.2"'* ]] ||
        other+='|^[a-z]+ POSTROUTING '
    other+=${own_rule+"|$own_rule"}
    grep -vE "$other" <<< "$2"
}

# value NAME PLAN: of the packet as it goes on.
value() {
    sed -E 's/.*"packet_after":\{([^}]*)\}.*/\1/' <<< "$2" | grep -oE "\"$1\":(\"[^\"]*\"|[0-9]+|null)" |
        sed -E 's/^[^:]*://; s/"//g; s/^null$/-/'
}

# The line that is noted where the plan lets the packet arrive; nothing where it does not leave the router.
expected_arrival() {
    local protocol
    [[ $1 == *'"verdict":"accept"'* ]] || return
    case $(value protocol "$1") in
    icmp) protocol=1 ;;
    tcp) protocol=6 ;;
    udp) protocol=17 ;;
    gre) protocol=47 ;;
    esac
    case $(value out "$1") in
    br0) printf 'lan ' ;;
    eth2.2) printf 'wan ' ;;
    *) return ;;
    esac
    echo "$packet_id $protocol $(value source "$1") $(value source_port "$1") $(value destination "$1")" \
        "$(value destination_port "$1")"
}

# Where the last packet arrived, in the same form.
arrival() {
    local side
    for side in lan wan; do
        sed -n "s/^$packet_id /$side &/p" "$world/arrived.$side"
    done | cut -d ' ' -f 1-7
}

# arrived_with FIELD: 8 is the TTL, 9 the MSS.
arrived_with() {
    cat "$world/arrived.lan" "$world/arrived.wan" | sed -n "s/^$packet_id /any &/p" | cut -d ' ' -f "$1"
}

as_planned() {
    seen=$(own_hits "$plan" "$(kernel_hits)")
    [ "$seen" = "$(planned_hits "$plan")" ] && [ "$(arrival)" = "$(expected_arrival "$plan")" ]
}

note_met() {
    grep -oE '"text":"[^ "]*iptables ([^"\\]|\\.)*"' <<< "$1" | sed -E 's/\\"/"/g' >> "$met"
}

# meets VERDICT WHAT SIDE WORDS... [-- WORDS...]: the words describe the packet as `rcplan packet` takes it; those
# behind "--" are for the cable only, where it looks different: before its addresses are translated back. VERDICT is
# what is expected of both, accept or drop.
meets() {
    local verdict=$1 what=$2 side=$3 plan seen
    local -a words=() wire=()
    shift 3
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        words+=("$1")
        shift
    done
    wire=("${words[@]}" "${@:2}")
    packet_id=$((packet_id + 1000))
    plan=$(planned "${words[@]}")
    if [[ $plan != *"\"verdict\":\"$verdict\""* ]]; then
        failed "$what: wanted $verdict, rcplan says: $plan"
        return
    fi
    note_met "$plan"
    forget_hits
    on_wire "$side" "${wire[@]}"
    hold_against "$what" "$(sed -E 's/.*"text":"([^"]*)","decision".*/\1/' <<< "$plan")"
}

# hold_against WHAT VERDICT: compares what the kernel did with $plan. The kernel needs a moment, and so does what
# notes the arrival.
hold_against() {
    local tries=0
    until as_planned; do
        tries=$((tries + 1))
        if [ "$tries" -ge 60 ]; then
            failed "$1: $2"
            diff <(planned_hits "$plan") <(echo "$seen") | sed -n 's/^</        planned/p; s/^>/        counted/p'
            printf '        expected \"%s\", arrived \"%s\"\n' "$(expected_arrival "$plan")" "$(arrival)"
            return
        fi
        sleep 0.05
    done
    [ -z "$(arrival)" ] || what_arrived=", seen on $(arrival | cut -d ' ' -f 1)"
    passed "$1: $2${what_arrived-}"
    unset what_arrived
}

# meets_either WHAT SIDE OPTION WORDS...: chance or a limit decides, and OPTION makes rcplan take the other way. The
# kernel must take one of the two; leaves in $taken which, 0 or 1.
meets_either() {
    local what=$1 side=$2 option=$3 plan seen
    local -a plans
    shift 3
    packet_id=$((packet_id + 1000))
    plans=("$(planned "$@")" "$(planned "$@" "$option")")
    note_met "${plans[0]}"
    note_met "${plans[1]}"
    forget_hits
    on_wire "$side" "$@"
    for ((tries = 0; tries < 60; tries++)); do
        for taken in 0 1; do
            plan=${plans[taken]}
            as_planned && return
        done
        sleep 0.05
    done
    failed "$what: neither way is the kernel's"
    diff <(planned_hits "${plans[0]}") <(echo "$seen")
    taken=none
}

# meets_both WHAT SIDE COUNT OPTION WORDS...: so many packets that some are beyond a limit: together they meet the
# rules of both ways, and no others.
meets_both() {
    local what=$1 side=$2 count=$3 option=$4 within beyond tries wanted
    shift 4
    packet_id=$((packet_id + 1000))
    within=$(planned "$@")
    beyond=$(planned "$@" "$option")
    note_met "$within"
    note_met "$beyond"
    wanted=$(sort -u <(planned_hits "$within") <(planned_hits "$beyond"))
    forget_hits
    on_wire "$side" "$@" --count "$count"
    for ((tries = 0; tries < 60; tries++)); do
        [ "$(own_hits "$beyond" "$(kernel_hits)")" != "$wanted" ] || break
        sleep 0.05
    done
    same "$what" "$(xargs <<< "$wanted")" "$(own_hits "$beyond" "$(kernel_hits)" | xargs)"
}

# What the rules that were met have asked and done: each option and target once, and the options with a "!".
vocabulary() {
    tr -d '"' < "$met" | awk '
        { for (i = 1; i <= NF; i++) {
            if ($i == "!") print "!" $(i - 1)
            else if ($i == "-j") { if ($(i + 1) ~ /^(ACCEPT|DNAT|DROP|LOG|MARK|MASQUERADE|REJECT|RETURN|SNAT|TCPMSS|TTL)$/) print $(i + 1) }
            else if ($i == "-m") print $(i + 1)
            else if ($i ~ /^-/ && $i !~ /^-[tAI]$/) print $i } }' | sort -u
}
