# Connectivity: computers with fixed addresses, web servers that report the client's address, and the answers.
# shellcheck shell=bash

# pc_at NAME ADDRESS: a fixed address in the LAN, with the router as the gateway.
pc_at() {
    in_net "$1" ip addr add "$2/24" dev eth0
    in_net "$1" ip route add default via 192.168.1.1
}

# serve NET ADDRESS PORT NAME: a web server whose page contains its NAME and the client's address. Servers with the same
# NAME on other ports or addresses share their pages.
serve() {
    local home=$world/www.$4 page
    if [ ! -d "$home" ]; then
        mkdir -p "$home/cgi-bin"
        for page in who casino; do
            # shellcheck disable=SC2016  # The page's own variable.
            printf '#!/bin/sh\nprintf "Content-Type: text/plain\\n\\n%%s\\n" "%s, asked by $REMOTE_ADDR"\n' "$4" \
                > "$home/cgi-bin/$page"
            chmod 755 "$home/cgi-bin/$page"
        done
    fi
    in_net "$1" busybox httpd -p "$2:$3" -h "$home" 9>&-
}

# get NET [CURL_OPTION...] URL: leaves in $got the page's first line, or what happened instead.
get() {
    local net=$1 status
    shift
    printf '%s$ curl %s\n' "$net" "$(display "$@")"
    with "real packets" via iptables
    got=$(in_net "$net" curl -s -m "$hang_limit" "$@" 9>&-)
    status=$?
    got=${got%%$'\n'*}
    case $status in
    0) ;;
    7) got="refused" ;;
    28) got="no answer within $hang_limit s" ;;
    52 | 56) got="cut off" ;;
    *) got="curl's status $status" ;;
    esac
}

# reaches WHAT SERVER ASKER NET [CURL_OPTION...] URL: the server's page comes, and the server has seen the address ASKER.
reaches() {
    local what=$1 server=$2 asker=$3 net=$4
    shift 4
    get "$net" "$@"
    same "$what" "$server, asked by $asker" "$got"
}

# fails WHAT HOW NET [CURL_OPTION...] URL: HOW is "refused" or "cut off".
fails() {
    local what=$1 how=$2 net=$3
    shift 3
    get "$net" "$@"
    same "$what" "$how" "$got"
}

# For each network, a page that it reaches on the same path as the pages that it does not reach.
declare -A known_page

# no_answer WHAT NET [CURL_OPTION...] URL: the client sends a SYN and gets no answer. No pause is needed to show that: the
# network's known page is requested later and arrives while the first connection is still in SYN_SENT.
no_answer() {
    local what=$1 net=$2 asker
    shift 2
    printf '%s$ curl %s\n' "$net" "$(display "$@")"
    with "real packets" via iptables
    nsenter --net="$world/net/$net" curl -s -o "$world/page" -m "$hang_limit" "$@" 9>&- &
    asker=$!
    wait_until asked_or_ended "$net" "$asker"
    if ! in_net "$net" curl -s -o "$world/known_page" -m "$hang_limit" "${known_page[$net]}" 9>&-; then
        failed "$what: ${known_page[$net]}, which should be reached, is not"
    elif asks "$net"; then
        passed "$what: no answer"
    else
        wait "$asker"
        failed "$what: expected no answer, curl ended with status $?, page \"$(head -n 1 "$world/page" 2>/dev/null)\""
    fi
    kill "$asker" 2>/dev/null
    wait "$asker" 2>/dev/null
    rm -f "$world/page" "$world/known_page"
}

# asks NET: there is a connection in state SYN_SENT (02).
asks() {
    # shellcheck disable=SC2016  # awk's own words.
    in_net "$1" awk 'NR > 1 && $4 == "02" { found = 1 } END { exit !found }' /proc/net/tcp
}

asked_or_ended() {
    asks "$1" || ! kill -0 "$2"
}

# pings NET COUNT ADDRESS: sends COUNT pings; answers are ignored.
pings() {
    with "real packets" via iptables
    in_net "$1" busybox ping -c "$2" -W 1 -i 0.01 "$3" 9>&-
}

# flood NET COUNT ADDRESS MAC: sends COUNT pings by send_packet, each with another identifier, so that each is a new
# connection for the kernel; pings of one ping program would be one connection. MAC is the next hop to ADDRESS.
flood() {
    local own
    own=$(in_net "$1" cat /sys/class/net/eth0/address)
    with "real packets" via iptables
    printf '%s$ send_packet eth0 --proto icmp --dst %s --count %s\n' "$1" "$3" "$2"
    in_net "$1" perl "$lab/send_packet" eth0 --id 1000 --count "$2" --mac-source "$own" --mac-dest "$4" --proto icmp \
        --src "$provider_gateway" --dst "$3" 9>&-
}

# pings_answered NET: how many echo replies have arrived there.
pings_answered() {
    # shellcheck disable=SC2016
    in_net "$1" awk '$1 == "Icmp:" && !count { count = split($0, names); next }
        $1 == "Icmp:" { for (i = 1; i <= count; i++) if (names[i] == "InEchoReps") print $i }' /proc/net/snmp
}

# look_ups NET COUNT ADDRESS: sends COUNT queries to a name server. All sockets are open at once, so each has another source
# port and each query is a new connection.
look_ups() {
    with "real packets" via iptables
    # shellcheck disable=SC2016  # The inner shell's own words.
    in_net "$1" bash -c '
        for ((i = 0; i < $1; i++)); do
            exec {port}<> "/dev/udp/$2/53"
            echo query >&"$port"
        done' bash "$2" "$3" 9>&-
}

# ttl_seen NET ADDRESS: the TTL of a ping's answer.
ttl_seen() {
    with "real packets" via iptables
    wait_until answers_ping "$1" "$2"
    sed -n 's/.* ttl=\([0-9]*\).*/\1/p' "$world/ping"
}
