#!/bin/sh
# Writes the files of rc firewall create with the shell's built-ins only: it reads the settings once, and starts date,
# ifconfig, cp and the shaping script, which no built-in can replace.
# Not implemented, because the full house does not use it: daylight saving, QoS by bandwidth, other kinds of remote
# management, names of services that differ only in punctuation.
# shellcheck disable=SC2086 # lists are split on purpose; nothing in them is a pattern, for -f is set
# shellcheck disable=SC2015 # a test that fails is all that can go wrong here
# shellcheck disable=SC3003,SC3043,SC3060 # busybox knows $'', local and ${//}
# shellcheck disable=SC2034,SC2154 # the settings come from the image, and are used by what is read here, too
set -f
SOH=$'\001'
STX=$'\002'
LF='
'
# shellcheck source=bench/scripts/firewall_common.sh
. "${0%/*}/firewall_common.sh"

# Settings become variables of the same names.
read_settings() {
    while IFS= read -r line; do
        case $line in
        ac_* | access_* | bpa_* | ether_* | fw_* | igmp_enable=* | lan_* | log_* | mail_* | qos* | ras_* | time_* | \
            wan_* | wireless_* | wl_*) ;;
        *) continue ;;
        esac
        value=${line#*=}
        case $value in
        *\\*)
            value=${value//\\x01/$SOH}
            case $value in
            *\\*) value=${value//\\x02/$STX} ;;
            esac
            ;;
        esac
        eval "${line%%=*}=\$value"
    done < /tmp/nvram
}

# address of an interface: $address
address_of() {
    address=
    ifconfig "$1" > /tmp/address_of
    while read -r word rest; do
        [ "$word" = inet ] || continue
        rest=${rest#addr:}
        address=${rest%% *}
        break
    done < /tmp/address_of
    rm /tmp/address_of
}

# The first period of today in the list $1: $start and $end in minutes, or status 1.
period_of_today() {
    local IFS=$SOH
    for record in $1; do
        IFS=:-
        set -- $record
        [ "$1" = "$weekday" ] || continue
        start=$(($2 * 60 + $3))
        end=$(($4 * 60 + $5))
        return 0
    done
    return 1
}

# A period open in the second list before midnight is open in the first list after it.
schedule_open() {
    export TZ="$time_zone"
    date '+%w %H %M' > /tmp/schedule_now
    read -r weekday hour minute < /tmp/schedule_now
    rm /tmp/schedule_now
    now=$((${hour#0} * 60 + ${minute#0}))
    if period_of_today "$fw_schedule"; then
        if [ "$start" -le "$end" ]; then
            [ "$start" -le "$now" ] && [ "$now" -lt "$end" ] && return 0
        else
            [ "$now" -lt "$end" ] && return 0
        fi
    fi
    period_of_today "$fw_schedule2" || return 1
    if [ "$start" -le "$end" ]; then
        [ "$start" -le "$now" ] && [ "$now" -lt "$end" ]
    else
        [ "$now" -ge "$start" ]
    fi
}

write_pre_basic() {
    [ "$wan_mode" = dhcpc ] &&
        echo "iptables -A PRE_BASIC -t nat -i $wan_ifname -p udp -d 255.255.255.255 --dport 68 -j ACCEPT"
    [ -n "$wan_address" ] && [ "$fw_nat" != 0 ] &&
        echo "iptables -A PRE_BASIC -t nat -i $wan_ifname -d ! $wan_address -j DROP"
    echo "iptables -A PRE_BASIC -t nat -i $lan_if -p udp --dport 53 -d $lan_ipaddr -j DNS"
    random=
    while IFS= read -r line; do
        case $line in
        *nameserver*)
            echo "iptables -I DNS -t nat $random -d $lan_ipaddr -j DNAT --to ${line#nameserver }$LF"
            random='-m random'
            ;;
        esac
    done < /etc/resolv.conf
    [ "$fw_remote" = 1 ] || return
    echo "iptables -t nat -A PRE_BASIC -i $wan_ifname -p tcp --dport $fw_remote_port -m iprange --src-range\
 $fw_remote_range_start-$fw_remote_range_end -d $wan_address -j DNAT --to $lan_ipaddr:80
iptables -A LOCAL_SERVICE -d $lan_ipaddr -p tcp --dport 80 -j ACCEPT"
}

# An address as the module reads it, its first octet lowest: $number
number_of() {
    local IFS=.
    set -- $1
    number=$(($1 | $2 << 8 | $3 << 16 | $4 << 24))
}

write_special_apps() {
    local IFS=$SOH outport='' inport='' entries=0
    for record in $fw_spapp; do
        IFS=:-
        # This is correct only for names without a dash, which the web interface ensures.
        name=${record#*:*:}
        rest=${name#*:}
        set -- $record
        [ "$2" != 0 ] || continue
        set -- $rest
        protocol_code "$1"
        out=${outport:+,}$code,$2,$3
        protocol_code "$4"
        in=${inport:+,}$code,$5,$6
        [ $((${#outport} + ${#out})) -le 511 ] && [ $((${#inport} + ${#in})) -le 511 ] ||
            continue
        outport=$outport$out
        inport=$inport$in
        entries=$((entries + 1))
    done
    number_of "$lan_netmask"
    mask=$number
    number_of "$lan_ipaddr"
    echo "rmmod ip_conntrack_pt
insmod /lib/modules/ip_conntrack_pt.ko outport=$outport inport=$inport entries=$entries lanmask=$mask\
 lan_ipaddr=$number " > /tmp/pnat
}

# The ten fields of one rule.
write_marks() {
    [ "${10}" = 9 ] && return
    if [ "$2" = 0 ]; then
        range='-m iprange --src-range' single=-s port=--dport incoming=$lan_if
    else
        range='-m iprange --dst-range' single=-d port=--sport incoming=$wan_ifname
    fi
    case $7:$8 in
    0*) addresses=' ' ;;
    *:0*) addresses="$single $7" ;;
    *) addresses="$range $7-${7%.*}.$8" ;;
    esac
    case $4:$5 in
    0*) ports=' ' ;;
    *:0*) ports="$port $4" ;;
    *) ports="$port $4:$5" ;;
    esac
    case $6 in
    b*) protocols='tcp udp' ;;
    *) protocols=$6 ;;
    esac
    mark=$((${10} + 1))
    IFS=' '
    for protocol in $protocols; do
        match="/usr/sbin/iptables -t mangle -A FORWARD -i $incoming -p $protocol $addresses $ports -j"
        echo "$match MARK --set-mark $mark
$match RETURN"
    done
}

write_shaping() {
    echo "#!/bin/sh
#Clean old qdisc
/usr/sbin/tc qdisc del dev $lan_if root 2> /dev/null
/usr/sbin/tc qdisc del dev $wan_ifname root 2> /dev/null
/usr/sbin/tc qdisc add dev $lan_if root handle 1: htb default 20
/sbin/ifconfig $lan_if txqueuelen 100
/sbin/ifconfig $wan_ifname txqueuelen 100"
    rate=$wan_bandwidth
    share=$((rate / 13))
    write_classes "$lan_if"
    echo "/usr/sbin/tc qdisc add dev $wan_ifname root handle 1: htb default 20"
    write_classes "$wan_ifname"
    local IFS=$SOH count=0
    for record in $qos; do
        [ "$count" -lt 20 ] || break
        count=$((count + 1))
        IFS=$STX
        set -- $record
        [ -n "$3" ] || break
        write_marks "$@"
    done
}

write_qos() {
    echo "fw_qos enable =$qos_enable$LF" >> /tmp/qostest
    if [ "$qos_enable" != 1 ]; then
        echo "return ... NULL$LF" >> /tmp/qostest
        return
    fi
    echo "down_rate=$wan_bandwidth up_rate=$wan_bandwidth$LF" >> /tmp/qostest
    write_shaping > /tmp/qos.conf
    chmod 755 /tmp/qos.conf
    /tmp/qos.conf &
}

write_url_block() {
    echo 'iptables -A BLOCK -j LOG --log-level 4 --log-prefix "[BLOCK]"
iptables -A BLOCK -p tcp --dport 80 -j REJECT --reject-with http-block'
    [ "$log_access" = 1 ] && echo 'iptables -A ACL_BLOCK -j LOG --log-level 4 --log-prefix "[ACCESS BLOCK]"'
    local IFS=$SOH
    if [ "$fw_trustenable" = 1 ]; then
        for mac in $access_group; do
            echo "iptables -A OUT_FILTER -m mac --mac-source $mac -j ACCEPT"
        done
    fi
    [ "$fw_block_trust_enable" = 1 ] && [ -n "$fw_block_trust" ] &&
        echo "iptables -A HTTP -s $fw_block_trust -j RETURN"
    [ "$fw_block" = 1 ] || { [ "$fw_block" = 2 ] && [ "$open" = 1 ]; } || return
    [ -n "$fw_block_keyword" ] || return
    echo "iptables -A CFILTER -i $lan_if -p tcp --dport 80 --tcp-flags ALL PSH,ACK -j HTTP"
    for keyword in $fw_block_keyword; do
        echo "iptables -A HTTP -m string --string $keyword --algo kmp -j BLOCK"
    done
}

write_access_control() {
    echo "iptables -A BLOCK -j DROP
iptables -A ACL_BLOCK -j DROP
iptables -A OUT_FILTER -s $lan_ipaddr  -p all -j ACCEPT"
    [ "$open" = 0 ] && [ "$ac_sch" = 1 ] && return
    [ "$ac_control" = 1 ] && echo "iptables -A OUT_FILTER  -i $lan_if -p all -j ACL_BLOCK"
    [ "$ac_control" = 2 ] || return
    local IFS=$SOH
    for record in $fw_services_def $fw_services; do
        name=${record%%:*}
        name=${name//[!A-Za-z0-9]/_}
        eval "service_$name=\${service_$name:-\${record#*:}}"
    done
    IFS="$SOH "
    for name in ${access_control#????}; do
        eval "service=\${service_${name//[!A-Za-z0-9]/_}}"
        [ -n "$service" ] || return
        protocol=${service%%:*}
        ports=${service#*:}
        ports=${ports%-*}:${ports#*-}
        case $protocol in
        both | any)
            echo "iptables -A OUT_FILTER   -i $lan_if -p tcp --dport $ports -j ACL_BLOCK
iptables -A OUT_FILTER   -i $lan_if -p udp --dport $ports -j ACL_BLOCK"
            ;;
        *) echo "iptables -A OUT_FILTER   -i $lan_if -p $protocol --dport $ports -j ACL_BLOCK" ;;
        esac
    done
}

write_port_forwards() {
    local IFS=$SOH count=0
    for record in $fw_in_rules; do
        IFS=:
        set -- $record
        [ "$2" = 1 ] && [ "$count" -lt 15 ] || continue
        count=$((count + 1))
        host=$prefix.$7
        echo "iptables -t nat -A PF -p $6 --dport $4 --dst $wan_address -j DNAT --to-destination $host:$5
iptables -t nat -A POSTROUTING -p $6 -s $lan_ipaddr/$bits --dst $host --dport $5 -j SNAT --to-source $lan_ipaddr
iptables -A FORWARD -p $6 -d $host --dport $5  -j LOG --log-level 4 --log-prefix \"[PORT FORWARD]\"
iptables -A FORWARD -p $6 -d $host --dport $5 -j ACCEPT"
        [ "$4" != 1723 ] || write_gre "$host"
    done
}

write_range_forwards() {
    local IFS=$SOH count=0
    for record in $fw_out_rules; do
        IFS=:
        set -- $record
        [ "$2" = 1 ] && [ "$count" -lt 10 ] || continue
        count=$((count + 1))
        host=$prefix.$7
        if [ "$6" = both ]; then
            echo "iptables -t nat -A PF -p tcp --dport $4:$5 --dst $wan_address -j DNAT --to-destination $host
iptables -t nat -A PF -p udp --dport $4:$5 --dst $wan_address -j DNAT --to-destination $host
iptables -t nat -A POSTROUTING -p ! icmp -s $lan_ipaddr/$bits --dst $host -j SNAT --to-source $lan_ipaddr
iptables -A FORWARD -p tcp -d $host --dport $4:$5 -j LOG --log-level 4 --log-prefix \"[PORT RANGE FORWARD]\"
iptables -A FORWARD -p udp -d $host --dport $4:$5 -j LOG --log-level 4 --log-prefix \"[PORT RANGE FORWARD]\"
iptables -A FORWARD -p tcp -d $host --dport $4:$5 -j ACCEPT
iptables -A FORWARD -p udp -d $host --dport $4:$5 -j ACCEPT"
        else
            echo "iptables -t nat -A PF -p $6 --dport $4:$5 --dst $wan_address -j DNAT --to-destination $host
iptables -t nat -A POSTROUTING -p $6 -s $lan_ipaddr/$bits --dst $host -j SNAT --to-source $lan_ipaddr
iptables -A FORWARD  -p $6 -d $host --dport $4:$5 -j LOG --log-level 4 --log-prefix \"[PORT RANGE FORWARD]\"
iptables -A FORWARD  -p $6 -d $host --dport $4:$5 -j ACCEPT"
        fi
        [ "$6" != udp ] && [ "$4" -le 1723 ] && [ "$5" -ge 1723 ] && write_gre "$host"
    done
}

# The leading ones of lan_netmask: $bits
count_bits() {
    local IFS=.
    bits=0
    for octet in $lan_netmask; do
        while [ $((octet & 128)) -ne 0 ]; do
            bits=$((bits + 1))
            octet=$((octet << 1 & 255))
        done
    done
}

# The lines of the schedules in the list $2 for the application $1.
write_schedules() {
    application=$1
    local IFS=$SOH
    for record in $2; do
        IFS=:-
        set -- $record
        begin=start last=start
        if [ "$application" = wlan ]; then
            begin=restart last=stop
            [ "$2$3$4$5" != 0000 ] || begin=stop
            [ "$4" != 24 ] || set -- "$1" "$2" "$3" 23 59
        fi
        echo "$3 $2 * * $1 root /usr/sbin/rc $application $begin
$5 $4 * * $1 root /usr/sbin/rc $application $last"
    done
}

write_crontab() {
    if [ -e /tmp/wan_uptime ]; then
        [ "$time_daylight" = 1 ] && echo "DAYLIGHT=$time_daylight"
        echo "TZ=$time_zone

0 12 * * * root /usr/sbin/rc ddns start
30 12 * * * root /usr/sbin/rc ntp restart"
        case $wan_mode in
        p*) ;;
        *) echo "0-59 * * * * root /usr/sbin/rc check_conn start" ;;
        esac
        write_schedules firewall "$fw_schedule"
        write_schedules firewall "$fw_schedule2"
        case $mail_sendlog in
        2) echo "0 * * * * root killall -1 syslogd" ;;
        3) echo "0 $mail_sh_hour * * * root killall -1 syslogd" ;;
        4) echo "0 $mail_sh_hour * * $mail_sh_day root killall -1 syslogd" ;;
        esac
    fi
    [ "$wireless_sch_en" != enable ] || write_schedules wlan "$wl_schedule"
}

read_settings
address_of "$wan_ifname"
wan_address=$address
prefix=${lan_ipaddr%.*}
count_bits
if schedule_open; then open=1; else open=0; fi
printf %s "$open" > /tmp/cron_schedule
write_masquerade
{
    write_opening
    write_pre_basic
    write_special_apps
    write_qos
    write_dmz
    [ "$fw_response_ping" = 1 ] && echo "iptables -A LOCAL_SERVICE  -p icmp -i $wan_ifname -j ACCEPT"
    write_url_block
    write_access_control
    write_port_forwards
    write_range_forwards
    write_rest
} > /tmp/rules
/bin/cp /etc/crontab /var/crontab
write_crontab > /var/crontab
wait
