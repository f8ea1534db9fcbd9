# Who reaches whom: computers with fixed addresses, servers that say who asked them, and what came back.
# shellcheck shell=bash

# pc_at NAME ADDRESS: a fixed address in the LAN, and the router as the way out.
pc_at() {
    in_net "$1" ip addr add "$2/24" dev eth0
    in_net "$1" ip route add default via 192.168.1.1
}

# serve NET ADDRESS PORT NAME: a web server whose page has its NAME and the address that asks. Another port or address
# of the same name has the same pages.
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

# get NET SECONDS [CURL_OPTION...] URL: leaves in $got the page's first line, or what happened instead.
get() {
    local net=$1 seconds=$2 status
    shift 2
    printf '%s$ curl %s\n' "$net" "$(display "$@")"
    with "real packets" via iptables
    got=$(in_net "$net" curl -s -m "$seconds" "$@" 9>&-)
    status=$?
    got=${got%%$'\n'*}
    case $status in
    0) ;;
    7) got="refused" ;;
    28) got="no answer" ;;
    52 | 56) got="cut off" ;;
    *) got="curl's status $status" ;;
    esac
}

# reaches WHAT SERVER ASKER NET [CURL_OPTION...] URL: the server's page comes, and the server has seen ASKER.
reaches() {
    local what=$1 server=$2 asker=$3 net=$4
    shift 4
    get "$net" 5 "$@"
    same "$what" "$server, asked by $asker" "$got"
}

# fails WHAT HOW NET [CURL_OPTION...] URL
fails() {
    local what=$1 how=$2 net=$3
    shift 3
    get "$net" 1 "$@"
    same "$what" "$how" "$got"
}

# new_pings NET COUNT ADDRESS: all at once, each by a program of its own; leaves the number of those that were answered
# in $answers. The pings of one program belong together for the kernel: from the second on they are not new.
new_pings() {
    with "real packets" via iptables
    printf '%s$ for i in {1..%s}; do ping -q -c 1 -W 2 %s & done; wait\n' "$1" "$2" "$3"
    # shellcheck disable=SC2016  # The inner shell's own words.
    answers=$(in_net "$1" bash -c 'for ((i = 0; i < $1; i++)); do busybox ping -q -c 1 -W 2 "$2" & done; wait' \
        bash "$2" "$3" 9>&- | grep -c ', 1 packets received')
}

# look_ups NET COUNT ADDRESS: that many queries for a name server. All ports are open at once, so each is another one,
# and each query is a new connection.
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
    in_net "$1" busybox ping -c 1 -W 2 "$2" 9>&- | sed -n 's/.* ttl=\([0-9]*\).*/\1/p'
}
