# The lab's network: namespaces, kept as files under $world/net, and the cables between them.
# shellcheck shell=bash
#
#   pc1 eth0 - port_pc1 |        |
#   pc2 eth0 - port_pc2 | switch | port_lan   - eth2.1 router eth2.2 - port_wan | line | port_provider - eth0 provider
#                       |        | port_trunk - eth2   router ra0    - air (an open end)
#
# The switch and the line are bridges in the box's namespace; without a provider, the line has an open end.
# eth2 is the whole switch, eth2.1 its LAN ports: an access point uses eth2, a router eth2.1.

in_net() {
    local name=$1
    shift
    nsenter --net="$world/net/$name" "$@"
}

new_net() {
    : > "$world/net/$1"
    unshare --net="$world/net/$1" true
    in_net "$1" ip link set lo up
}

drop_net() {
    umount "$world/net/$1"
    rm "$world/net/$1"
}

# answers_ping NET ADDRESS: leaves the program's output in $world/ping. To be used with wait_until: it sends a single ping
# with a short limit, and a lost ping is not repeated.
answers_ping() {
    in_net "$1" busybox ping -c 1 -W 5 "$2" 9>&- > "$world/ping"
}

# cable NEAR_END FAR_END NAMESPACE [MAC]: the near end is in the box and up.
cable() {
    ip link add "$1" type veth peer name "$2" netns "$world/net/$3"
    if [ $# -gt 3 ]; then
        in_net "$3" ip link set "$2" address "$4"
    fi
    ip link set "$1" up
}

switch_port() {
    ip link set "$1" master switch
}

start_switch() {
    mkdir "$world/net"
    ip link set lo up
    ip link add switch type bridge
    ip link set switch up
}

start_line() {
    ip link add line type bridge
    ip link set line up
}

declare -A pc_mac

# new_pc NAME MAC: a computer on the LAN.
new_pc() {
    pc_mac[$1]=$2
    new_net "$1"
    cable "port_$1" eth0 "$1" "$2"
    switch_port "port_$1"
    in_net "$1" ip link set eth0 up
}

plug_router() {
    new_net router
    cable port_lan eth2.1 router
    cable port_trunk eth2 router
    cable port_wan eth2.2 router
    cable air ra0 router
    switch_port port_lan
    switch_port port_trunk
    ip link set port_wan master line
}

# The kernel removes a namespace's interfaces with a delay, but the next router needs the names at once.
unplug_router() {
    local port
    for port in port_lan port_trunk port_wan air; do
        ip link del "$port"
    done
    drop_net router
}
