# The provider's ends of the router's links: a PPPoE concentrator, a PPTP server and an L2TP server, from unmodified Debian
# packages. Both sides share the machine's pppd, so each has separate names and options.
# shellcheck shell=bash

links_user=user@provider.example
tunnel_server=198.51.100.90
second_dns=203.0.113.54

# The provider's secrets. Passwords are in double quotes, in which pppd reads backslashes as escapes.
links_secrets() {
    local escaped=${1//\\/\\\\} kind
    escaped=${escaped//\"/\\\"}
    for kind in pap chap; do
        printf '"%s" * "%s" *\n' "$links_user" "$escaped" > "/etc/ppp/$kind-secrets"
    done
}

# links_options NAME OPTION...: writes an options file of the provider's pppd.
links_options() {
    local name=$1
    shift
    printf '%s\n' "$@" noipv6 nodefaultroute "logfile $world/$name.log" debug > "$world/$name.options"
}

start_pppoe_server() {
    # shellcheck disable=SC2154  # The provider's name server.
    links_options pppoe require-pap "ms-dns $provider_dns" "ms-dns $second_dns"
    in_net provider pppoe-server -q /usr/sbin/pppd -Q /usr/sbin/pppoe -I eth0 -C concentrator -S "$1" \
        -L 10.64.0.1 -R 10.64.0.2 -N 1 -O "$world/pppoe.options" 9>&- > "$world/pppoe-server.log" 2>&1
}

# MPPE needs keys, which only MS-CHAP creates.
start_pptp_server() {
    links_options pptp refuse-pap refuse-chap require-mschap-v2 require-mppe-128 "ms-dns $provider_dns" "ms-dns $second_dns" nobsdcomp \
        nodeflate
    {
        echo "option $world/pptp.options"
        echo "localip 10.65.0.1"
        echo "remoteip 10.65.0.2"
        echo "listen $tunnel_server"
        echo "pidfile $world/pptpd.pid"
        echo noipparam
    } > "$world/pptpd.conf"
    in_net provider pptpd -c "$world/pptpd.conf" 9>&- > "$world/pptpd.log" 2>&1
}

# With "refuse authentication" the client's pppd refuses PAP and CHAP, so only MS-CHAP is left.
start_l2tp_server() {
    links_options l2tp refuse-pap refuse-chap require-mschap-v2 "ms-dns $provider_dns" "ms-dns $second_dns" noccp
    {
        echo '[global]'
        echo 'port = 1701'
        echo '[lns default]'
        echo 'ip range = 10.66.0.2-10.66.0.2'
        echo 'local ip = 10.66.0.1'
        echo 'require authentication = no'
        echo "pppoptfile = $world/l2tp.options"
    } > "$world/xl2tpd.conf"
    in_net provider xl2tpd -c "$world/xl2tpd.conf" -C "$world/xl2tpd.control" -p "$world/xl2tpd.pid" \
        9>&- > "$world/xl2tpd.log" 2>&1
}

link_is_up() {
    on_router /tmp/wan_uptime && [ "$(address_of ppp0)" ]
}
