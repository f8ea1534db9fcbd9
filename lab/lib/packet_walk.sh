# Compares `rcplan packet` with the kernel: the same packet is sent to the router in the box and given to `rcplan packet`
# with the router's settings. Both must agree on the rules that it meets, the verdict and the packet that leaves.
# shellcheck shell=bash

# The id in the IP header of the first packet; each packet has a different id, by which its arrival is found. An id has 16
# bits, and a test of a limit sends 200 packets in a row: so the next one is 250 higher.
packet_id=1000
# The rules met so far, one a line.
met=$world/met
# How many fields of an arrival are compared: side, id, protocol, and the addresses and ports.
compared=7
# The ids of packets that ended in the router.
ended=()

# listen_for_packets: records arriving packets on both sides of the router.
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

# near ADDRESS INTERFACE MAC: a computer that never answers; the router has its MAC address.
near() {
    in_net router ip neigh replace "$1" lladdr "$3" nud permanent dev "$2"
}

# on_wire SIDE WORDS...: sends a packet from the side lan, wan or air; air is the radio's side, which has no computers.
on_wire() {
    with "real packets" via iptables
    local interface=eth0 near=$provider_mac router_mac
    local -a enter=()
    case $1 in
    lan) enter=(in_net pc1) near=${pc_mac[pc1]} router_mac=$lan_mac ;;
    wan) enter=(in_net provider) router_mac=$wan_mac ;;
    air) interface=air router_mac=$air_mac ;;
    esac
    shift
    "${enter[@]}" perl "$lab/send_packet" "$interface" --id "$packet_id" --mac-source "$near" \
        --mac-dest "$router_mac" "$@" 9>&-
}

# beforehand SIDE WORDS...: a packet that only prepares the next one.
beforehand() {
    packet_id=$((packet_id + 250))
    on_wire "$@"
}

# remember_router [PATH...]: writes the facts that `rcplan` needs besides the settings: addresses and existing files. Call it
# before the firewall is started.
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

# planned WORDS...: the result of rcplan after "rc firewall start", or after $action; one JSON object.
planned() {
    "$build/bin/rcplan" packet --json --no-why --settings "$root/tmp/nvram" --world "$world/router.world" \
        "$@" ${action:+$action}
}

# The rules and policies in a plan, such as "filter FORWARD 3" and "nat PREROUTING policy".
planned_hits() {
    grep -oE '"type":"(rule|policy)","table":"[a-z]+","chain":"[A-Z_]+"(,"rule":[0-9]+)?' <<< "$1" |
        sed -E 's/.*"table":"([a-z]+)","chain":"([A-Z_]+)"(,"rule":([0-9]+))?/\1 \2 \4/; s/ $/ policy/' | sort -u
}

# The same of the kernel: rules and policies whose counters have risen since forget_hits.
kernel_hits() {
    # shellcheck disable=SC2016  # The inner shell's own words.
    router sh -c 'for table in filter nat mangle; do echo "table $table"; /usr/lab/iptables -w -t $table -v -S; done' |
        awk '
            $1 == "table" { table = $2; delete rules }
            $1 == "-A" { place = ++rules[$2] }
            $1 == "-P" { place = "policy" }
            { for (i = 1; i < NF; i++) if ($i == "-c" && $(i + 1) > 0) print table, $2, place }' | sort -u
}

forget_hits() {
    # shellcheck disable=SC2016
    router sh -c 'for table in filter nat mangle; do /usr/lab/iptables -w -t $table -Z; done'
}

# own_hits PLAN HITS: the hits without the chains that only the router's own answers meet, and without $own_rule.
own_hits() {
    local other='^nat INPUT |^[a-z]+ OUTPUT '
    [[ $1 == *'"verdict":"accept"'*'"out":"br0"'* || $1 == *'"verdict":"accept"'*'"out":"eth2.2"'* ]] ||
        other+='|^[a-z]+ POSTROUTING '
    other+=${own_rule+"|$own_rule"}
    grep -vE "$other" <<< "$2"
}

# The line that is recorded if the packet arrives as planned; empty if it does not leave the router. For an established
# connection the kernel translates the addresses without rules, so these are not compared.
expected_arrival() {
    local text='"([^"]*)"' number='([0-9]+|null)' side protocol
    local after="\"packet_after\":\{\"in\":$text,\"out\":$text,\"protocol\":$text,\"source\":$text"
    after+=",\"source_port\":$number,\"destination\":$text,\"destination_port\":$number"
    [[ $1 == *'"verdict":"accept"'* && $1 =~ $after ]] || return
    case ${BASH_REMATCH[2]} in
    br0) side=lan ;;
    eth2.2) side=wan ;;
    *) return ;;
    esac
    case ${BASH_REMATCH[3]} in
    icmp) protocol=1 ;;
    tcp) protocol=6 ;;
    udp) protocol=17 ;;
    gre) protocol=47 ;;
    esac
    echo "$side $packet_id $protocol ${BASH_REMATCH[4]} ${BASH_REMATCH[5]/null/-} ${BASH_REMATCH[6]}" \
        "${BASH_REMATCH[7]/null/-}" | cut -d ' ' -f "1-$compared"
}

# Where the last packet arrived, in the same form.
arrival() {
    local side
    for side in lan wan; do
        sed -n "s/^$packet_id /$side &/p" "$world/arrived.$side"
    done | cut -d ' ' -f "1-$compared"
}

# arrived_with FIELD: 8 is the TTL, 9 the MSS.
arrived_with() {
    with "real packets" via iptables
    cat "$world/arrived.lan" "$world/arrived.wan" | sed -n "s/^$packet_id /any &/p" | cut -d ' ' -f "$1"
}

# as_planned PLAN HITS ARRIVAL: whether the kernel has counted these hits and the packet has arrived there; leaves the
# kernel's hits in $seen.
as_planned() {
    seen=$(own_hits "$1" "$(kernel_hits)")
    [ "$seen" = "$2" ] && [ "$(arrival)" = "$3" ]
}

# The lines of packets that should not have left the router, but arrived after the check. Packets are recorded in order of
# arrival, so call this when a later packet has been recorded on both sides.
late_arrivals() {
    local id
    for id in "${ended[@]}"; do
        grep -h "^$id " "$world/arrived.lan" "$world/arrived.wan"
    done
}

note_met() {
    grep -oE '"text":"[^ "]*iptables ([^"\\]|\\.)*"' <<< "$1" | sed -E 's/\\"/"/g' >> "$met"
}

# meets VERDICT WHAT SIDE WORDS... [-- WORDS...]: the words describe the packet in the options of `rcplan packet`. Those
# after "--" are only for the packet on the cable, where its addresses are not yet translated back. VERDICT is the expected
# verdict, accept or drop.
meets() {
    local verdict=$1 what=$2 side=$3 plan
    local -a words=() wire=()
    shift 3
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        words+=("$1")
        shift
    done
    wire=("${words[@]}" "${@:2}")
    compared=7
    [[ " ${words[*]} " != *' --state '* ]] || compared=3
    packet_id=$((packet_id + 250))
    plan=$(planned "${words[@]}")
    if [[ $plan != *"\"verdict\":\"$verdict\""* ]]; then
        failed "$what: expected $verdict, rcplan says: $plan"
        return
    fi
    note_met "$plan"
    forget_hits
    on_wire "$side" "${wire[@]}"
    hold_against "$what" "$plan"
}

# hold_against WHAT PLAN: waits until the kernel has done as planned; counters and arrivals come with a delay.
hold_against() {
    local seen hits expected text
    hits=$(planned_hits "$2")
    expected=$(expected_arrival "$2")
    text=$(sed -E 's/.*"text":"([^"]*)","decision".*/\1/' <<< "$2")
    if wait_until as_planned "$2" "$hits" "$expected"; then
        passed "$1: $text${expected:+, seen on ${expected%% *}}"
        [ "$expected" ] || ended+=("$packet_id")
        return
    fi
    failed "$1: $text"
    diff <(echo "$hits") <(echo "$seen") | sed -n 's/^</        planned/p; s/^>/        counted/p'
    printf '        expected "%s", arrived "%s"\n' "$expected" "$(arrival)"
    end_here
}

# meets_either WHAT SIDE OPTION WORDS...: for a random match; OPTION makes rcplan take the other path. The kernel must take
# one of the two; leaves the number of that path, 0 or 1, in $taken.
meets_either() {
    local what=$1 side=$2 option=$3 seen
    local -a plans hits expected
    shift 3
    packet_id=$((packet_id + 250))
    compared=7
    plans=("$(planned "$@")" "$(planned "$@" "$option")")
    for taken in 0 1; do
        note_met "${plans[taken]}"
        hits[taken]=$(planned_hits "${plans[taken]}")
        expected[taken]=$(expected_arrival "${plans[taken]}")
    done
    forget_hits
    on_wire "$side" "$@"
    wait_until either_as_planned && return
    failed "$what: the kernel took neither path"
    diff <(echo "${hits[0]}") <(echo "$seen") | sed -n 's/^</        planned/p; s/^>/        counted/p'
    end_here
}

# For meets_either: leaves the number of the path in $taken.
either_as_planned() {
    for taken in 0 1; do
        as_planned "${plans[taken]}" "${hits[taken]}" "${expected[taken]}" && return
    done
    return 1
}

# meets_both WHAT SIDE COUNT OPTION WORDS...: COUNT packets, some of them beyond a limit, meet exactly the rules of both
# paths; OPTION makes rcplan take the path beyond the limit.
meets_both() {
    local what=$1 side=$2 count=$3 option=$4 within beyond wanted seen hangs=''
    shift 4
    packet_id=$((packet_id + 250))
    within=$(planned "$@")
    beyond=$(planned "$@" "$option")
    note_met "$within"
    note_met "$beyond"
    wanted=$(sort -u <(planned_hits "$within") <(planned_hits "$beyond"))
    forget_hits
    on_wire "$side" "$@" --count "$count"
    wait_until both_met || hangs=1
    same "$what" "$(xargs <<< "$wanted")" "$(xargs <<< "$seen")"
    [ -z "$hangs" ] || end_here
}

# For meets_both.
both_met() {
    seen=$(own_hits "$beyond" "$(kernel_hits)")
    [ "$seen" = "$wanted" ]
}

# The options, modules and targets of the rules that were met, each once, and the options that had a "!".
vocabulary() {
    tr -d '"' < "$met" | awk '
        BEGIN {
            split("ACCEPT DNAT DROP LOG MARK MASQUERADE REJECT RETURN SNAT TCPMSS TTL", names)
            for (i in names) target[names[i]]
        }
        {
            for (i = 1; i <= NF; i++) {
                if ($i == "!") print "!" $(i - 1)
                else if ($i == "-m") print $(i + 1)
                else if ($i == "-j") { if ($(i + 1) in target) print $(i + 1) }
                else if ($i ~ /^-/ && $i !~ /^-[tAIP]$/) print $i
            }
        }' | sort -u
}
