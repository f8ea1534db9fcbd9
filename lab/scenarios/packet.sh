# Compares the results of `rcplan packet` with the kernel's, for the same packets and settings.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"
# shellcheck source=lib/packet_walk.sh
. "$lab/lib/packet_walk.sh"

wan=203.0.113.7
# Addresses that no computer has, so that only the router itself answers.
far=198.51.100.200
friend=198.51.100.201
separator=$'\x01'
field=$'\x02'

if [ ! -x "$build/bin/rcplan" ]; then
    echo "this build has no rcplan (RC_WORKSTATION is off)"
    exit 77
fi
command -v perl > /dev/null || { echo "perl is not installed (see lab/packages.txt)"; exit 77; }
if ! find_iptables; then
    echo "no iptables here for the router's rules: $lacks"
    exit 77
fi

# A record of the QoS list: direction, first and last port, protocol, first address, last octet, class.
qos_record() {
    local word record=1$field$1${field}name
    for word in "$2" "$3" "$4" "$5" "$6" 100 "$7"; do
        record+=$field$word
    done
    printf '%s' "$record$separator"
}

# Otherwise they would answer IGMP queries themselves.
ip link set switch type bridge mcast_snooping 0
ip link set line type bridge mcast_snooping 0
new_provider
new_pc pc1 02:00:00:00:00:11
trusted_mac=02:00:00:00:00:12

step "The router is switched on with the owner's own rules"
power_on || exit 1
install_firewall
console nvram load
console nvram set wan_mode=ip
console nvram set "fix_ipaddr=$wan"
console nvram set "fix_gateway=$provider_gateway"
console nvram set wan_dns1=203.0.113.53
console nvram set wan_dns2=203.0.113.54
console nvram set wan_mtu=1400
console nvram set fw_response_ping=1
console nvram set igmp_enable=1
console nvram set log_outgoing=1
console nvram set log_access=1
console nvram set "fw_in_rules=web:1:all:8080:80:tcp:40"
console nvram set "fw_out_rules=games:1:all:1700:1800:both:40"
console nvram set fw_remote=1
console nvram set fw_remote_type=1
console nvram set "fw_remote_single=$friend"
console nvram set fw_remote_port=8889
console nvram set "fw_services_def=FTP:tcp:21-21${separator}HTTP:tcp:80-80"
console nvram set ac_control=2
console nvram set "access_control=0000FTP"
console nvram set fw_trustenable=1
console nvram set "access_group=$trusted_mac"
console nvram set fw_block=1
console nvram set "fw_block_keyword=roulette${separator}casino"
console nvram set fw_block_trust_enable=1
console nvram set fw_block_trust=192.168.1.34
console nvram commit
console rc init
services_started
must_hold

lan_mac=$(mac_of br0)
wan_mac=$(mac_of eth2.2)
air_mac=$(mac_of ra0)
provider_mac=$(in_net provider cat /sys/class/net/eth0/address)
for host in 33 34 40 50; do
    near "192.168.1.$host" br0 "${pc_mac[pc1]}"
done
for host in 1 53 54; do
    near "203.0.113.$host" eth2.2 "$provider_mac"
done
router ip link set ra0 up
# The router must not repeat an unacknowledged answer while other packets are counted.
router sh -c 'echo 0 > /proc/sys/net/ipv4/tcp_synack_retries'
listen_for_packets
remember_router

step "A web request of the LAN, from its first packet on"
meets accept "a SYN of the LAN" lan \
    --proto tcp --src 192.168.1.33 --sport 41001 --dst $far --dport 80 --flags SYN --mss 1460
same "its segment size is cut" 1360 "$(arrived_with 9)"
meets accept "its answer" wan \
    --proto tcp --src $far --sport 80 --dst 192.168.1.33 --dport 41001 --flags SYN,ACK --mss 1460 --state established \
    -- --dst $wan --seq 5000 --ack 1001
same "its segment size is cut, too" 1360 "$(arrived_with 9)"
meets accept "the handshake's end" lan \
    --proto tcp --src 192.168.1.33 --sport 41001 --dst $far --dport 80 --flags ACK --state established \
    -- --seq 1001 --ack 5001
meets accept "a request without a keyword" lan \
    --proto tcp --src 192.168.1.33 --sport 41001 --dst $far --dport 80 --flags PSH,ACK --state established \
    --string "GET /news" -- --seq 1001 --ack 5001
meets drop "a request with one" lan \
    --proto tcp --src 192.168.1.33 --sport 41001 --dst $far --dport 80 --flags PSH,ACK --state established \
    --string "GET /casino" -- --seq 1010 --ack 5001

step "The same from the trusted address and the trusted MAC address"
meets accept "a SYN with a small segment size" lan \
    --proto tcp --src 192.168.1.34 --sport 41002 --dst $far --dport 80 --flags SYN --mss 1200 \
    --mac-source $trusted_mac
same "the size stays" 1200 "$(arrived_with 9)"
beforehand wan --proto tcp --src $far --sport 80 --dst $wan --dport 41002 --flags SYN,ACK --seq 5000 --ack 1001
beforehand lan --proto tcp --src 192.168.1.34 --sport 41002 --dst $far --dport 80 --flags ACK --seq 1001 --ack 5001
meets accept "a request with a keyword" lan \
    --proto tcp --src 192.168.1.34 --sport 41002 --dst $far --dport 80 --flags PSH,ACK --state established \
    --string "GET /casino" --mac-source $trusted_mac -- --seq 1001 --ack 5001
meets accept "a service that is blocked for the others" lan \
    --proto tcp --src 192.168.1.34 --sport 41003 --dst $far --dport 21 --flags SYN --mac-source $trusted_mac
meets drop "and for the others" lan --proto tcp --src 192.168.1.33 --sport 41004 --dst $far --dport 21 --flags SYN

step "Connections, and packets that belong to no connection"
meets accept "UDP of the LAN" lan --proto udp --src 192.168.1.33 --sport 41005 --dst $far --dport 5000
meets accept "its answer" wan \
    --proto udp --src $far --sport 5000 --dst 192.168.1.33 --dport 41005 --state established -- --dst $wan
meets accept "an ICMP error about it" wan \
    --proto icmp --icmp-type destination-unreachable --src $far --dst 192.168.1.33 --state related \
    -- --dst $wan --about "udp $wan:41005 $far:5000"
meets accept "an echo reply without a request, accepted by the rule for pings" wan \
    --proto icmp --icmp-type echo-reply --src $far --dst $wan --state invalid
meets drop "the same to a computer of the LAN" wan \
    --proto icmp --icmp-type echo-reply --src $far --dst 192.168.1.40 --state invalid
meets drop "a packet with the router's own address as its source" lan \
    --proto udp --src 192.168.1.1 --sport 41006 --dst $far --dport 5000
meets accept "UDP from the LAN to the router itself" lan \
    --proto udp --src 192.168.1.33 --sport 41007 --dst 192.168.1.1 --dport 5353

step "Ports that are forwarded"
meets accept "port 8080 from outside" wan --proto tcp --src $far --sport 42001 --dst $wan --dport 8080 --flags SYN
meets accept "port 8080 from inside" lan \
    --proto tcp --src 192.168.1.33 --sport 42002 --dst $wan --dport 8080 --flags SYN
meets accept "TCP port 1700 of a range" wan --proto tcp --src $far --sport 42003 --dst $wan --dport 1700 --flags SYN
meets accept "UDP port 1800 of it, from inside" lan \
    --proto udp --src 192.168.1.33 --sport 42004 --dst $wan --dport 1800
meets accept "GRE, for the PPTP port in it" wan --proto gre --src $far --dst $wan
meets drop "the port after the range" wan --proto udp --src $far --sport 42005 --dst $wan --dport 1801
meets drop "the computer's own address from outside" wan \
    --proto tcp --src $far --sport 42006 --dst 192.168.1.40 --dport 80 --flags SYN

step "The router's own services"
meets accept "remote management from $friend" wan \
    --proto tcp --src $friend --sport 43001 --dst $wan --dport 8889 --flags SYN
meets drop "from $far" wan --proto tcp --src $far --sport 43002 --dst $wan --dport 8889 --flags SYN
meets accept "a ping" wan --proto icmp --icmp-type echo-request --src $far --dst $wan
meets drop "a SYN to the link's broadcast address" wan \
    --proto tcp --src $far --sport 43003 --dst $wan --dport 22 --flags SYN --mac-dest ff:ff:ff:ff:ff:ff
meets drop "UDP to a multicast group" wan \
    --proto udp --src $far --sport 43004 --dst 224.0.0.1 --dport 5000 --mac-dest 01:00:5e:00:00:01
meets drop "IGMP, which the limits do not cover" wan \
    --proto igmp --src "$provider_gateway" --dst 224.0.0.1 --mac-dest 01:00:5e:00:00:01
meets drop "UDP from the radio, which the limits do not cover" air \
    --proto udp --src 10.9.0.1 --sport 43005 --in ra0 --dst $wan --dport 2000
counts="0 0"
for ((look_up = 0; look_up < 40; look_up++)); do
    meets_either "a name look-up" lan --not-drawn \
        --proto udp --src 192.168.1.33 --sport $((44000 + look_up)) --dst 192.168.1.1 --dport 53
    case $taken in
    0) counts="1 ${counts#* }" ;;
    1) counts="${counts% *} 1" ;;
    esac
    [ "$counts" != "1 1" ] || break
done
same "name look-ups at the router go to either server" "1 1" "$counts"

step "Packets with the mark of accepted packets"
# No rule of rc sets that mark, so the scenario adds one, which is not compared.
console /usr/lab/iptables -t mangle -I PREROUTING -j MARK --set-mark 0x2511
own_rule='^mangle PREROUTING 1$'
meets accept "to the router" wan \
    --proto tcp --src $far --sport 45001 --dst $wan --dport 2222 --flags SYN --mark 0x2511
meets accept "to a computer of the LAN" wan \
    --proto icmp --icmp-type echo-reply --src $far --dst 192.168.1.40 --state invalid --mark 0x2511
unset own_rule
router /usr/lab/iptables -t mangle -D PREROUTING 1

step "Floods: packets within the limits and beyond them"
meets_both "300 SYNs" wan 300 --over-limit \
    --proto tcp --src $far --sport 20000 --dst $wan --dport 22 --flags SYN
meets_both "300 packets of UDP" wan 300 --over-limit --proto udp --src $far --sport 20000 --dst $wan --dport 2000
meets_both "200 pings" wan 200 --over-limit --proto icmp --icmp-type echo-request --src $far --dst $wan

step "The owner sets a DMZ host, permits remote management from a range of addresses, and turns QoS on"
console nvram set fw_response_ping=0
console nvram set igmp_enable=0
console nvram set log_outgoing=0
console nvram set ac_control=0
console nvram set fw_dmz_enable=1
console nvram set fw_dmz=192.168.1.50
console nvram set fw_remote_type=2
console nvram set fw_remote_range_start=$friend
console nvram set fw_remote_range_end=198.51.100.209
console nvram set fw_ttl=4
console nvram set fw_ttl_ud=77
console nvram set qos_enable=1
console nvram set qos_type=priority
console nvram set wan_bandwidth=1000
web_out=$(qos_record 0 80 0 tcp 0 0 0)
games_out=$(qos_record 0 5000 5010 both 192.168.1.30 39 2)
web_in=$(qos_record 1 80 0 tcp 192.168.1.33 0 1)
games_in=$(qos_record 1 0 0 udp 192.168.1.40 50 1)
console nvram set "qos=$web_out$games_out$web_in$games_in"
remember_router /tmp/rule2
console rc firewall restart
comes "QoS is set up" qos_is_up 10

meets accept "the LAN's web, marked 1" lan \
    --proto tcp --src 192.168.1.33 --sport 46001 --dst $far --dport 80 --flags SYN --mss 1400
same "the TTL that the router sets" 77 "$(arrived_with 8)"
meets accept "its answer, marked 2" wan \
    --proto tcp --src $far --sport 80 --dst 192.168.1.33 --dport 46001 --flags SYN,ACK --state established \
    -- --dst $wan --seq 5000 --ack 1001
meets accept "a game, marked 3" lan --proto udp --src 192.168.1.39 --sport 46002 --dst $far --dport 5010
meets accept "another computer's game" lan --proto udp --src 192.168.1.40 --sport 46003 --dst $far --dport 5010
meets accept "a port of the WAN for the DMZ host" wan \
    --proto tcp --src $far --sport 46004 --dst $wan --dport 5000 --flags SYN
meets accept "UDP for it, marked 2" wan --proto udp --src $far --sport 46005 --dst $wan --dport 6000
meets accept "GRE is the forward's, not the DMZ host's" wan --proto gre --src $far --dst $wan -- --call 2
meets drop "a ping, which goes to no host" wan --proto icmp --icmp-type echo-request --src $far --dst $wan
meets accept "a forwarded port, still its own computer's" wan \
    --proto tcp --src $far --sport 46006 --dst $wan --dport 8080 --flags SYN
meets accept "remote management from the range" wan \
    --proto tcp --src 198.51.100.209 --sport 46007 --dst $wan --dport 8889 --flags SYN
meets accept "from other addresses the port is the DMZ host's" wan \
    --proto tcp --src 198.51.100.210 --sport 46008 --dst $wan --dport 8889 --flags SYN

step "The owner turns NAT off, blocks the LAN, and shares the line by bandwidth"
console nvram set fw_nat=0
console nvram set ac_control=1
console nvram set fw_remote_type=3
console nvram set fw_ttl=1
console nvram set qos_type=bandwidth
console nvram set "qos=$(qos_record 0 80 0 tcp 0 0 9)$(qos_record 0 53 0 udp 192.168.1.33 0 9)"
# The masquerading script still exists and is run again.
remember_router /tmp/rule2
console rc firewall restart
comes "QoS is set up" qos_is_up 4

meets accept "a computer of the LAN by its own address" wan \
    --proto tcp --src $far --sport 47001 --dst 192.168.1.33 --dport 22 --flags SYN
same "its TTL, decremented and incremented" 64 "$(arrived_with 8)"
meets drop "the LAN's web, marked 20" lan \
    --proto tcp --src 192.168.1.33 --sport 47002 --dst $far --dport 80 --flags SYN
meets drop "the LAN's look-ups elsewhere, marked 30" lan \
    --proto udp --src 192.168.1.33 --sport 47003 --dst $far --dport 53
meets accept "the trusted MAC address, still masqueraded" lan \
    --proto tcp --src 192.168.1.34 --sport 47004 --dst $far --dport 80 --flags SYN --mac-source $trusted_mac
meets accept "remote management from anywhere" wan \
    --proto tcp --src 198.51.100.210 --sport 47005 --dst $wan --dport 8889 --flags SYN

step "The firewall is stopped"
console rc firewall stop
action='firewall stop'
meets accept "a computer of the LAN" wan \
    --proto tcp --src $far --sport 48001 --dst 192.168.1.40 --dport 22 --flags SYN
meets accept "the answer of a DHCP server" wan --proto udp --src "$provider_gateway" --sport 67 --dst $wan --dport 68
# The last packets, one for each side, show that all others have been recorded.
meets accept "the LAN, without NAT" lan --proto udp --src 192.168.1.33 --sport 48002 --dst $far --dport 5000
meets accept "its answer" wan \
    --proto udp --src $far --sport 5000 --dst 192.168.1.33 --dport 48002 --state established

step "The rules that all these packets have matched"
same "packets that the plan ends in the router and that arrived nevertheless" "" "$(late_arrivals)"
same "conditions and targets that have matched" \
    "!-d !-i !-p --algo --clamp-mss-to-pmtu --dport --dst --dst-range --icmp-type --limit --limit-burst --log-level \
--log-prefix --mac-dest --mac-source --mark --mss --reject-with --set-mark --set-mss --sport --src-range --state \
--string --syn --tcp-flags --to --to-destination --to-source --ttl-inc --ttl-set -d -i -o -p -s ACCEPT DNAT DROP LOG \
MARK MASQUERADE REJECT RETURN SNAT TCPMSS TTL iprange limit mac mark random state string tcpmss" \
    "$(vocabulary | xargs)"
