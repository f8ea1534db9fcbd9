#!/bin/sh
# Writes the files of rc firewall create in the usual style: a call of nvram for each setting, and cut, grep, tr, awk and
# sed in pipes for the lists.
# Not implemented, because the full house does not use it: daylight saving, QoS by bandwidth, other kinds of remote
# management.
# shellcheck disable=SC2013,SC2034 # a name server is one word; the settings are used by what is read here, too
# shellcheck source=bench/scripts/firewall_common.sh
. "${0%/*}/firewall_common.sh"

# The records of a list, one a line.
list() { nvram get "$1" | tr '\001' '\n' | grep .; }

field() { echo "$1" | cut -d: -f"$2"; }

# The first period of today in the list $1: start and end in minutes.
period_of_today() {
    list "$1" | grep "^$(date +%w):" | head -n 1 | tr ':-' '  ' | awk '{ print $2 * 60 + $3, $4 * 60 + $5 }'
}

schedule_open() {
    TZ=$(nvram get time_zone)
    export TZ
    now=$(date '+%H %M' | awk '{ print $1 * 60 + $2 }')
    first=$(period_of_today fw_schedule)
    second=$(period_of_today fw_schedule2)
    {
        echo "${first:-none} first"
        echo "${second:-none} second"
    } | awk -v now="$now" '
        $1 == "none" { next }
        $1 <= $2 && $1 <= now && now < $2 { open = 1 }
        $1 > $2 && $3 == "first" && now < $2 { open = 1 }
        $1 > $2 && $3 == "second" && now >= $1 { open = 1 }
        END { printf "%d", open }'
}

write_pre_basic() {
    [ "$wan_mode" = dhcpc ] &&
        echo "iptables -A PRE_BASIC -t nat -i $wan_ifname -p udp -d 255.255.255.255 --dport 68 -j ACCEPT"
    [ -n "$wan_address" ] && [ "$fw_nat" != 0 ] &&
        echo "iptables -A PRE_BASIC -t nat -i $wan_ifname -d ! $wan_address -j DROP"
    echo "iptables -A PRE_BASIC -t nat -i $lan_if -p udp --dport 53 -d $lan_ipaddr -j DNS"
    random=
    for server in $(grep nameserver /etc/resolv.conf | cut -c12-); do
        printf 'iptables -I DNS -t nat %s -d %s -j DNAT --to %s\n\n' "$random" "$lan_ipaddr" "$server"
        random='-m random'
    done
    [ "$(nvram get fw_remote)" = 1 ] || return
    echo "iptables -t nat -A PRE_BASIC -i $wan_ifname -p tcp --dport $(nvram get fw_remote_port) -m iprange --src-range\
 $(nvram get fw_remote_range_start)-$(nvram get fw_remote_range_end) -d $wan_address -j DNAT --to $lan_ipaddr:80
iptables -A LOCAL_SERVICE -d $lan_ipaddr -p tcp --dport 80 -j ACCEPT"
}

# An address as the module reads it, its first octet lowest.
number_of() { echo "$1" | awk -F. '{ printf "%.0f", $1 + 256 * ($2 + 256 * ($3 + 256 * $4)) }'; }

# One of the two lists of the module, from the fields beginning at $1.
ports_of() {
    list fw_spapp | awk -F'[:-]' -v from="$1" '
        BEGIN { codes["tcp"] = 1; codes["udp"] = 2; codes["both"] = 0 }
        $2 != 0 {
            # A name may contain the separator, so the ports are counted from the end.
            at = NF - 6 + from
            if ($at in codes) code = codes[$at]
            entry = (entries++ ? "," : "") code + 0 "," $(at + 1) "," $(at + 2)
            if (length(text entry) <= 511) text = text entry
        }
        END { print text }'
}

write_special_apps() {
    entries=$(list fw_spapp | cut -d: -f2 | grep -c -v '^0$')
    echo "rmmod ip_conntrack_pt
insmod /lib/modules/ip_conntrack_pt.ko outport=$(ports_of 1) inport=$(ports_of 4) entries=$entries\
 lanmask=$(number_of "$lan_netmask") lan_ipaddr=$(number_of "$lan_ipaddr") " > /tmp/pnat
}

write_marks() {
    list qos | head -n 20 | tr '\002' '|' | while IFS='|' read -r _ direction name first last protocol address octet _ class; do
        [ -n "$name" ] || break
        [ "$class" != 9 ] || continue
        range='-m iprange --src-range' single=-s port=--dport incoming=$lan_if
        [ "$direction" = 0 ] || range='-m iprange --dst-range' single=-d port=--sport incoming=$wan_ifname
        addresses="$range $address-$(echo "$address" | sed 's/\.[0-9]*$//').$octet"
        [ "$(echo "$octet" | cut -c1)" != 0 ] || addresses="$single $address"
        [ "$(echo "$address" | cut -c1)" != 0 ] || addresses=' '
        ports="$port $first:$last"
        [ "$(echo "$last" | cut -c1)" != 0 ] || ports="$port $first"
        [ "$(echo "$first" | cut -c1)" != 0 ] || ports=' '
        for word in $(echo "$protocol" | sed 's/^b.*/tcp udp/'); do
            match="/usr/sbin/iptables -t mangle -A FORWARD -i $incoming -p $word $addresses $ports -j"
            echo "$match MARK --set-mark $((class + 1))"
            echo "$match RETURN"
        done
    done
}

write_shaping() {
    rate=$(nvram get wan_bandwidth)
    share=$((rate / 13))
    echo "#!/bin/sh
#Clean old qdisc
/usr/sbin/tc qdisc del dev $lan_if root 2> /dev/null
/usr/sbin/tc qdisc del dev $wan_ifname root 2> /dev/null
/usr/sbin/tc qdisc add dev $lan_if root handle 1: htb default 20
/sbin/ifconfig $lan_if txqueuelen 100
/sbin/ifconfig $wan_ifname txqueuelen 100"
    write_classes "$lan_if"
    echo "/usr/sbin/tc qdisc add dev $wan_ifname root handle 1: htb default 20"
    write_classes "$wan_ifname"
    write_marks
}

write_qos() {
    enabled=$(nvram get qos_enable)
    printf 'fw_qos enable =%s\n\n' "$enabled" >> /tmp/qostest
    if [ "$enabled" != 1 ]; then
        printf 'return ... NULL\n\n' >> /tmp/qostest
        return
    fi
    printf 'down_rate=%s up_rate=%s\n\n' "$(nvram get wan_bandwidth)" "$(nvram get wan_bandwidth)" >> /tmp/qostest
    write_shaping > /tmp/qos.conf
    chmod 755 /tmp/qos.conf
    /tmp/qos.conf &
}

write_url_block() {
    echo 'iptables -A BLOCK -j LOG --log-level 4 --log-prefix "[BLOCK]"
iptables -A BLOCK -p tcp --dport 80 -j REJECT --reject-with http-block'
    [ "$(nvram get log_access)" = 1 ] &&
        echo 'iptables -A ACL_BLOCK -j LOG --log-level 4 --log-prefix "[ACCESS BLOCK]"'
    if [ "$(nvram get fw_trustenable)" = 1 ]; then
        for mac in $(list access_group); do
            echo "iptables -A OUT_FILTER -m mac --mac-source $mac -j ACCEPT"
        done
    fi
    trusted=$(nvram get fw_block_trust)
    [ "$(nvram get fw_block_trust_enable)" = 1 ] && [ -n "$trusted" ] && echo "iptables -A HTTP -s $trusted -j RETURN"
    filtering=$(nvram get fw_block)
    [ "$filtering" = 1 ] || { [ "$filtering" = 2 ] && [ "$open" = 1 ]; } || return
    [ -n "$(nvram get fw_block_keyword)" ] || return
    echo "iptables -A CFILTER -i $lan_if -p tcp --dport 80 --tcp-flags ALL PSH,ACK -j HTTP"
    for keyword in $(list fw_block_keyword); do
        echo "iptables -A HTTP -m string --string $keyword --algo kmp -j BLOCK"
    done
}

write_access_control() {
    echo "iptables -A BLOCK -j DROP
iptables -A ACL_BLOCK -j DROP
iptables -A OUT_FILTER -s $lan_ipaddr  -p all -j ACCEPT"
    [ "$open" = 0 ] && [ "$(nvram get ac_sch)" = 1 ] && return
    control=$(nvram get ac_control)
    [ "$control" = 1 ] && echo "iptables -A OUT_FILTER  -i $lan_if -p all -j ACL_BLOCK"
    [ "$control" = 2 ] || return
    services=$(list fw_services_def && list fw_services)
    for name in $(nvram get access_control | cut -c5- | tr '\001' '\n'); do
        service=$(echo "$services" | grep "^$name:" | head -n 1)
        [ -n "$service" ] || return
        ports=$(field "$service" 3 | tr - :)
        for protocol in $(field "$service" 2 | sed 's/both\|any/tcp udp/'); do
            echo "iptables -A OUT_FILTER   -i $lan_if -p $protocol --dport $ports -j ACL_BLOCK"
        done
    done
}

write_port_forwards() {
    for record in $(list fw_in_rules | grep '^[^:]*:1:' | head -n 15); do
        outside=$(field "$record" 4)
        inside=$(field "$record" 5)
        protocol=$(field "$record" 6)
        host=$prefix.$(field "$record" 7)
        echo "iptables -t nat -A PF -p $protocol --dport $outside --dst $wan_address -j DNAT --to-destination $host:$inside
iptables -t nat -A POSTROUTING -p $protocol -s $lan_ipaddr/$bits --dst $host --dport $inside -j SNAT --to-source\
 $lan_ipaddr
iptables -A FORWARD -p $protocol -d $host --dport $inside  -j LOG --log-level 4 --log-prefix \"[PORT FORWARD]\"
iptables -A FORWARD -p $protocol -d $host --dport $inside -j ACCEPT"
        [ "$outside" != 1723 ] || write_gre "$host"
    done
}

write_range_forwards() {
    for record in $(list fw_out_rules | grep '^[^:]*:1:' | head -n 10); do
        ports=$(field "$record" 4):$(field "$record" 5)
        protocol=$(field "$record" 6)
        host=$prefix.$(field "$record" 7)
        blank=' ' address="$protocol -s" protocols=$protocol
        [ "$protocol" != both ] || blank='' address='! icmp -s' protocols='tcp udp'
        for word in $protocols; do
            echo "iptables -t nat -A PF -p $word --dport $ports --dst $wan_address -j DNAT --to-destination $host"
        done
        echo "iptables -t nat -A POSTROUTING -p $address $lan_ipaddr/$bits --dst $host -j SNAT --to-source $lan_ipaddr"
        for word in $protocols; do
            echo "iptables -A FORWARD $blank-p $word -d $host --dport $ports -j LOG --log-level 4 --log-prefix\
 \"[PORT RANGE FORWARD]\""
        done
        for word in $protocols; do
            echo "iptables -A FORWARD $blank-p $word -d $host --dport $ports -j ACCEPT"
        done
        [ "$protocol" != udp ] && [ "$(field "$record" 4)" -le 1723 ] && [ "$(field "$record" 5)" -ge 1723 ] &&
            write_gre "$host"
    done
}

# The lines of the schedules in the list $2 for the application $1.
write_schedules() {
    list "$2" | tr ':-' '  ' | awk -v application="$1" '{
        begin = "start"; last = "start"
        if (application == "wlan") {
            begin = $2 + $3 + $4 + $5 == 0 ? "stop" : "restart"; last = "stop"
            if ($4 == 24) { $4 = 23; $5 = 59 }
        }
        printf "%d %d * * %s root /usr/sbin/rc %s %s\n", $3, $2, $1, application, begin
        printf "%d %d * * %s root /usr/sbin/rc %s %s\n", $5, $4, $1, application, last
    }'
}

write_crontab() {
    if [ -e /tmp/wan_uptime ]; then
        [ "$(nvram get time_daylight)" = 1 ] && echo "DAYLIGHT=1"
        echo "TZ=$(nvram get time_zone)

0 12 * * * root /usr/sbin/rc ddns start
30 12 * * * root /usr/sbin/rc ntp restart"
        echo "$wan_mode" | grep -q ^p || echo "0-59 * * * * root /usr/sbin/rc check_conn start"
        write_schedules firewall fw_schedule
        write_schedules firewall fw_schedule2
        case $(nvram get mail_sendlog) in
        2) echo "0 * * * * root killall -1 syslogd" ;;
        3) echo "0 $(nvram get mail_sh_hour) * * * root killall -1 syslogd" ;;
        4) echo "0 $(nvram get mail_sh_hour) * * $(nvram get mail_sh_day) root killall -1 syslogd" ;;
        esac
    fi
    [ "$(nvram get wireless_sch_en)" != enable ] || write_schedules wlan wl_schedule
}

wan_ifname=$(nvram get wan_ifname)
wan_phy_ifname=$(nvram get wan_phy_ifname)
ether_wan_ifname=$(nvram get ether_wan_ifname)
wan_mode=$(nvram get wan_mode)
wan_mtu=$(nvram get wan_mtu)
lan_if=$(nvram get lan_if)
lan_ipaddr=$(nvram get lan_ipaddr)
lan_netmask=$(nvram get lan_netmask)
fw_nat=$(nvram get fw_nat)
fw_dmz_enable=$(nvram get fw_dmz_enable)
fw_dmz=$(nvram get fw_dmz)
bpa_login=$(nvram get bpa_login)
ras_login=$(nvram get ras_login)
igmp_enable=$(nvram get igmp_enable)
fw_ttl=$(nvram get fw_ttl)
fw_ttl_ud=$(nvram get fw_ttl_ud)
log_outgoing=$(nvram get log_outgoing)
wan_address=$(ifconfig "$wan_ifname" | grep 'inet ' | sed 's/.*inet addr:\([0-9.]*\).*/\1/')
prefix=$(echo "$lan_ipaddr" | sed 's/\.[0-9]*$//')
bits=$(ipcalc -p "$lan_ipaddr" "$lan_netmask" | cut -d= -f2)

open=$(schedule_open)
printf %s "$open" > /tmp/cron_schedule
write_masquerade
{
    write_opening
    write_pre_basic
    write_special_apps
    write_qos
    write_dmz
    [ "$(nvram get fw_response_ping)" = 1 ] && echo "iptables -A LOCAL_SERVICE  -p icmp -i $wan_ifname -j ACCEPT"
    write_url_block
    write_access_control
    write_port_forwards
    write_range_forwards
    write_rest
} > /tmp/rules
/bin/cp /etc/crontab /var/crontab
write_crontab > /var/crontab
wait
