# shellcheck shell=sh
# Functions shared by both firewall scripts. The settings are in variables of the same names; the script that includes
# this sets wan_address, prefix (the LAN's first three octets) and bits (of its mask).
# shellcheck disable=SC2154 # the settings
# shellcheck disable=SC2034 # what is worked out here is used there

write_opening() {
    echo "iptables -t nat -F
iptables -t filter -F"
    for chain in PRE_BASIC DNS PRE_PROXY UPNP PT NAPT PF VS DMZ; do
        echo "iptables -t nat -X $chain
iptables -t nat -N $chain"
    done
    for chain in DOS PROXY LOCAL_SERVICE OUT_FILTER CFILTER HTTP BLOCK ACL_BLOCK IN_FILTER FW_UPNP FW_BASIC; do
        echo "iptables -t filter -X $chain
iptables -t filter -N $chain"
    done
    echo "iptables -t nat -A PREROUTING -j PRE_BASIC
iptables -t nat -A PREROUTING -j PRE_PROXY
iptables -t nat -A PREROUTING -j UPNP
iptables -t nat -A PREROUTING -j PT
iptables -t nat -A PREROUTING -j NAPT
iptables -t nat -A PREROUTING -j PF
iptables -t nat -A PREROUTING -j VS
iptables -t nat -A PREROUTING -j DMZ
iptables -P INPUT DROP
iptables -A INPUT -i lo -j ACCEPT
iptables -A INPUT -m state --state ESTABLISHED,RELATED -j ACCEPT
iptables -A INPUT -p tcp --syn -j DOS
iptables -A INPUT -p udp -j DOS
iptables -A INPUT -p icmp --icmp-type echo-request -j DOS
iptables -A INPUT -j PROXY
iptables -A INPUT -j LOCAL_SERVICE
iptables -P FORWARD DROP
iptables -A FORWARD -j CFILTER
iptables -A FORWARD -j OUT_FILTER
iptables -A FORWARD -j FW_BASIC
iptables -A FORWARD -j IN_FILTER
iptables -A FORWARD -j FW_UPNP
iptables -A FW_BASIC -i lo -j ACCEPT
iptables -A FW_BASIC -p tcp --tcp-flags SYN,RST SYN -j TCPMSS --clamp-mss-to-pmtu
iptables -A FW_BASIC -m state --state ESTABLISHED,RELATED -j ACCEPT
iptables -A FW_BASIC -m mark --mark 0x2511 -j ACCEPT
iptables -A LOCAL_SERVICE -m mark --mark 0x2511 -j ACCEPT"
    [ "$fw_nat" = 1 ] || echo "iptables -P FORWARD ACCEPT"
    echo "iptables -I INPUT -i $lan_if -j ACCEPT
iptables -A FW_BASIC -i $lan_if -j ACCEPT
iptables -A DOS -i ! $wan_ifname -j RETURN
iptables -A DOS -m mac --mac-dest ff:ff:ff:ff:ff:ff -j RETURN
iptables -A DOS -p tcp --syn -m limit --limit 100/s --limit-burst 100 -j RETURN
iptables -A DOS -p udp -m limit --limit 100/s --limit-burst 100 -j RETURN
iptables -A DOS -p icmp --icmp-type echo-request -m limit --limit 5/s --limit-burst 60 -j RETURN
iptables -A DOS -m limit --limit 100/s -j LOG --log-level 4 --log-prefix \"[DOS] \"
iptables -A DOS -j DROP"
}

write_masquerade() {
    [ "$fw_nat" = 0 ] && return
    echo "iptables -t nat -A POSTROUTING -o $wan_ifname -j MASQUERADE " > /tmp/rule2
    case $wan_mode in
    pptp | l2tp)
        echo "iptables -t nat -A POSTROUTING -o ${wan_phy_ifname:-$ether_wan_ifname} -j MASQUERADE " >> /tmp/rule2
        ;;
    esac
}

# protocol as the module's number: $code
protocol_code() {
    case $1 in
    tcp) code=1 ;;
    udp) code=2 ;;
    both) code=0 ;;
    esac
}

write_classes() {
    device=$1
    echo "/usr/sbin/tc class add dev $device parent 1: classid 1:1 htb rate ${rate}kbit
/usr/sbin/tc class add dev $device parent 1:1 classid 1:10 htb rate $((8 * share))kbit ceil ${rate}kbit prio 1
/usr/sbin/tc class add dev $device parent 1:1 classid 1:20 htb rate $((4 * share))kbit ceil ${rate}kbit prio 4
/usr/sbin/tc class add dev $device parent 1:1 classid 1:30 htb rate ${share}kbit ceil ${rate}kbit prio 8
/usr/sbin/tc qdisc add dev $device parent 1:10 handle 10: sfq perturb 10
/usr/sbin/tc qdisc add dev $device parent 1:20 handle 20: sfq perturb 10
/usr/sbin/tc qdisc add dev $device parent 1:30 handle 30: sfq perturb 10
/usr/sbin/tc filter add dev $device parent 1:0 protocol ip prio 1 handle 1 fw flowid 1:10
/usr/sbin/tc filter add dev $device parent 1:0 protocol ip prio 2 handle 2 fw flowid 1:20
/usr/sbin/tc filter add dev $device parent 1:0 protocol ip prio 3 handle 3 fw flowid 1:30"
}

write_dmz() {
    [ "$fw_dmz_enable" = 1 ] && [ "$fw_nat" = 1 ] || return
    echo "iptables -t nat -I DMZ -d $wan_address -p ! icmp -j DNAT --to $fw_dmz
iptables -A IN_FILTER -d $fw_dmz -j ACCEPT"
}

write_gre() {
    echo "iptables -t nat -A PF -p gre --dst $wan_address -j DNAT --to-destination $1
iptables -t nat -A POSTROUTING -p gre --dst $1 -j SNAT --to-source $lan_ipaddr
iptables -A FORWARD -p gre -d $1 -j ACCEPT"
}

write_rest() {
    case $wan_mode in
    *bpa*) [ "$bpa_login" = 1 ] || echo "iptables -I FORWARD -s $lan_ipaddr/$lan_netmask -j DROP" ;;
    *ras*) [ "$ras_login" = 1 ] || echo "iptables -I FORWARD -s $lan_ipaddr/$lan_netmask -j DROP" ;;
    esac
    mtu=0
    [ ! -r "/sys/class/net/$wan_ifname/mtu" ] || read -r mtu < "/sys/class/net/$wan_ifname/mtu"
    if [ "$mtu" -le 0 ] || [ "$mtu" -gt "$wan_mtu" ]; then mtu=$wan_mtu; fi
    mss=$((mtu - 40))
    echo "iptables -I FORWARD -p tcp --tcp-flags SYN,ACK,RST SYN,ACK -m tcpmss --mss $((mss + 1)): -j TCPMSS --set-mss $mss
iptables -I FORWARD -p tcp --tcp-flags SYN,ACK,RST SYN -m tcpmss --mss $((mss + 1)): -j TCPMSS --set-mss $mss"
    [ "$igmp_enable" = 1 ] && echo "iptables -I DOS -d 224.0.0.0/3 -j DROP
iptables -I DOS -p 2 -j ACCEPT
iptables -t nat -I PRE_BASIC -d 224.0.0.0/3 -j ACCEPT"
    case $fw_ttl in
    1) echo "iptables -t mangle -A PREROUTING  -j TTL --ttl-inc 1" ;;
    2) echo "iptables -t mangle -A PREROUTING  -j TTL --ttl-inc 2
iptables -t mangle -A OUTPUT  -j TTL --ttl-inc 1" ;;
    3) echo "iptables -t mangle -A POSTROUTING  -j TTL --ttl-set 1" ;;
    4) echo "iptables -t mangle -A POSTROUTING  -j TTL --ttl-set $fw_ttl_ud" ;;
    esac
    [ "$log_outgoing" = 1 ] &&
        echo "iptables -I FORWARD -i $lan_if -m state --state NEW -j LOG --log-level 4 --log-prefix \"[Out Going]\""
}
