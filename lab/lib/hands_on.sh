# Boots a router with a settings image for lab/router: hands_on.sh IMAGE [HOST COMMAND]..., run in the box. The router gets
# a provider and two computers. Then it opens a shell, or runs the commands on their hosts until one fails.
# Its own messages go to standard error; standard output is for the commands.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"

image=$1
shift
exec 3>&1 1>&2
hosts=(router provider lan1 lan2)

# boot: returns when the router has booted and its services and the computers' leases are there.
boot() {
    new_provider
    new_pc lan1 02:00:00:00:00:11
    new_pc lan2 02:00:00:00:00:12
    power_on || return
    if find_iptables && command -v tc >/dev/null; then
        install_firewall
    else
        echo "iptables and tc are stubs here: ${lacks-no tc}"
    fi
    if pppd_there; then
        install_pppd
    else
        echo "pppd is not installed (package ppp)"
    fi
    router nvram load && router nvram import --replace - < "$image" && router nvram commit || return
    console rc init
    if [ "$(setting ap_mode)" = 1 ]; then
        return
    fi
    case $(setting wan_mode) in
    dhcpc | ip) wait_until services_are_up || echo "The services are not up after $hang_limit s." ;;
    *) echo "The box does not dial PPP links: pppd only checks its options (see docs/lab.md)." ;;
    esac
    if [ "$(setting dhcp_server_enable)" = 1 ]; then
        wait_until running udhcpd
        get_address lan1
        get_address lan2
    fi
}

get_address() {
    ask_lease "$1" >/dev/null
    # The DHCP client's script does not set the default route; scenarios set it themselves.
    in_net "$1" ip route replace default via "$(lease_of "$1" router)" 2>/dev/null || echo "$1 got no lease."
}

addresses() {
    in_net "$1" ip -o -4 addr | awk '$2 != "lo" { printf "%s%s %s", separator, $2, $4; separator = ", " }'
}

describe() {
    local host
    echo
    printf '%-9s %-52s %s\n' host addresses command
    for host in "${hosts[@]}"; do
        printf '%-9s %-52s enter %s\n' "$host" "$(addresses "$host")" "$host"
    done
    echo
    echo "Beyond the provider: http://$provider_server/. Leaving this shell ends everything."
}

# The command `enter` of the shell: enter HOST [COMMAND...].
make_enter() {
    mkdir -p "$world/bin"
    cat > "$world/bin/enter" << END
#!/bin/bash
host=\${1-}
shift
export LAB_HOST=\$host
case \$host in
router)
    [ \$# -gt 0 ] || set -- sh
    exec nsenter --target $router_pid --mount --net --pid --root --wd env -i PATH=/bin:/sbin:/usr/sbin:/usr/bin HOME=/ \\
        TERM="\${TERM-dumb}" PS1='router# ' LAB_BOX=$LAB_BOX "\$@"
    ;;
provider | lan1 | lan2)
    [ \$# -gt 0 ] || set -- bash --rcfile $world/shell.rc
    exec nsenter --net=$world/net/\$host "\$@"
    ;;
esac
echo "usage: enter router|provider|lan1|lan2 [COMMAND...]" >&2
exit 2
END
    chmod 755 "$world/bin/enter"
    # shellcheck disable=SC2016  # The shell's own variable.
    echo 'PS1="${LAB_HOST-lab}# "' > "$world/shell.rc"
}

# open_page: a socket outside the box leads to the router's web server, at the address that the router has at that moment.
open_page() {
    cat > "$world/bin/to_page" << END
#!/bin/bash
address=\$(ip -o -4 addr show dev br0 | sed -nE 's,.* inet ([^/]+)/.*,\\1,p' | head -n 1)
exec socat - "TCP:\$address:80"
END
    chmod 755 "$world/bin/to_page"
    in_net router socat "UNIX-LISTEN:$LAB_PAGE/socket,fork" "EXEC:$world/bin/to_page" 9>&- &
    wait_until [ -S "$LAB_PAGE/socket" ]
    printf "\nThe router's page: http://127.0.0.1:%s/settings.cgi\n" "$LAB_PAGE_PORT"
    if [ "$(setting http_password)" ]; then
        printf 'User %s, password %s\n' "$(setting http_username)" "$(setting http_password)"
    fi
}

boot < /dev/null || exit 1
make_enter
[ -z "${LAB_PAGE-}" ] || open_page
export PATH=$world/bin:$PATH
exec 1>&3 3>&-

if [ $# -eq 0 ]; then
    describe
    # From here on, Ctrl-C is for the shell.
    trap : INT
    bash --rcfile "$world/shell.rc" -i 9>&-
    exit 0
fi
while [ $# -gt 0 ]; do
    enter "$1" sh -c "$2" 9>&- || exit
    shift 2
done
exit 0
