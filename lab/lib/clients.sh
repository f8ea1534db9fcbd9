# The computers on the LAN: their DHCP client and their browser.
# shellcheck shell=bash

# on_pc NAME COMMAND...: print the command, then run it in the computer's namespace.
on_pc() {
    local name=$1
    shift
    printf '%s$ %s\n' "$name" "$(display "$@")"
    in_net "$name" "$@" 9>&-
}

dhcp_server_listens() {
    router netstat -lun | grep -q ':67 '
}

# ask_lease NAME: a new DHCP client asks every 5 s until it gets an address, and ends; lease_of reads the lease. The client
# is not restarted between tries: a restarted client ignores answers to earlier requests, so with a slow server, which
# answers these first, it might never get a lease.
ask_lease() {
    local lease=$world/lease.$1
    rm -f "$lease"
    with "real packets" via udhcpd
    install -m 755 "$lab/clients/dhcp_event" "$world/dhcp_event"
    wait_until dhcp_server_listens
    LEASE_FILE=$lease on_pc "$1" busybox timeout "$hang_limit" busybox udhcpc -i eth0 -f -q -t 1000 -T 5 \
        -x "hostname:$1" -s "$world/dhcp_event" 2>&1 | sed '1!s/^/      | /'
}

# lease_of NAME FIELD
lease_of() {
    with "real packets" via udhcpd
    sed -n "s/^$2 //p" "$world/lease.$1" 2>/dev/null
}

# browse NAME [CURL_OPTION...] URL: leaves the answer's status in http_status, its headers and body in $world/answer.
browse() {
    local name=$1
    shift
    printf '%s$ curl %s\n' "$name" "$(display "$@")"
    rm -f "$world/answer"
    with "real packets" via mini_httpd
    http_status=$(in_net "$name" curl -s -m "$hang_limit" -i -o "$world/answer" -w '%{http_code}' "$@" 9>&-)
}

# answers NAME URL: whether any answer comes.
answers() {
    with "real packets" via mini_httpd
    in_net "$1" curl -s -m "$hang_limit" -o /dev/null "$2" 9>&-
}

answer_line() {
    with "real packets" via mini_httpd
    grep -i -m 1 "$1" "$world/answer" | tr -d '\r'
}
