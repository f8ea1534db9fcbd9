# The firewall and QoS with the real iptables and tc: permitted and blocked connections, and the rules' counters.
# shellcheck shell=bash

# shellcheck source=lib/firewall.sh
. "$lab/lib/firewall.sh"
# shellcheck source=lib/packets.sh
. "$lab/lib/packets.sh"

wan=203.0.113.7
shop=198.51.100.81
friend=$provider_server
separator=$'\x01'
field=$'\x02'

command -v perl > /dev/null || { echo "perl is not installed (see lab/packages.txt)"; exit 77; }
if ! find_iptables; then
    echo "no iptables here for the router's rules: $lacks"
    exit 77
fi

# The lines that failed in both forms, by kind; one word for lines that are expected to fail.
refusals() {
    noted iptables refused | sed -E 's/^-t (nat|filter) -X [A-Z_]+: .*(No chain|does not exist).*/no such chain/'
    noted tc refused | sed -E 's/^qdisc del dev [^ ]+ root: .*/no such qdisc/'
}

changes() {
    noted "$1" changed | sed "s/.* => //" | grep -c -e "$2"
}

looked_up() {
    [ "$(packets nat DNS DNAT)" = "$1" ]
}

# at_least WHAT LEAST SEEN
at_least() {
    if [ "$3" -ge "$2" ]; then
        passed "$1: $3"
    else
        failed "$1: expected at least $2, saw \"$3\""
    fi
}

# A record of the QoS list: direction, name, port, class of priority.
qos_record() {
    local word record=1
    for word in "$1" "$2" "$3" 0 tcp 0 0 0; do
        record+=$field$word
    done
    printf '%s' "$record$field$4$separator"
}

new_provider
in_net provider ip addr add "$shop/32" dev lo
in_net provider ip route add 192.168.1.0/24 via "$wan"
serve provider "$shop" 80 shop
serve provider "$shop" 21 shop
head -c 100000 /dev/zero > "$world/www.shop/big"
new_pc pc1 02:00:00:00:00:11
pc_at pc1 192.168.1.33
new_pc pc2 02:00:00:00:00:12
pc_at pc2 192.168.1.40
serve pc2 192.168.1.40 80 pc2
serve pc2 192.168.1.40 1750 pc2
new_pc pc3 02:00:00:00:00:13
pc_at pc3 192.168.1.50
serve pc3 192.168.1.50 5000 pc3
known_page=([pc1]="http://$shop/cgi-bin/who" [provider]="http://$wan:8080/cgi-bin/who")

# The time zone is chosen so that it is noon on the router, so no period ends during the scenario.
hour=$(TZ=UTC0 date +%-H)
noon=LAB$((hour - 12))
morning=LAB$((hour - 12 + 4))
today=$(TZ=$noon date +%w)

step "The router is switched on with the owner's own rules; today's iptables and tc accept them"
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
console nvram set "access_group=${pc_mac[pc2]}"
console nvram set fw_block=2
console nvram set "fw_block_keyword=casino${separator}roulette"
console nvram set fw_block_trust_enable=1
console nvram set fw_block_trust=192.168.1.40
console nvram set "fw_schedule=$today:11:0-14:0"
console nvram set "time_zone=$noon"
console nvram commit
console rc init
services_started
same "the masquerade" "-A POSTROUTING -o eth2.2 -j MASQUERADE" "$(plain_rules nat POSTROUTING MASQUERADE)"
same "refused: the removal of 20 chains and 2 queues that do not exist yet" \
    "20 no such chain; 2 no such qdisc" \
    "$(refusals | sort | uniq -c | awk '{ $1 = $1; printf "%s%s", (NR > 1 ? "; " : ""), $0 }')"
must_hold
same "rules given in today's grammar: moved \"!\", drops, chances, broadcasts, rejections" "3 1 1 1 1" \
    "$(changes iptables ' ! -[ipd] ') \
$(changes iptables NFQUEUE) $(changes iptables statistic) $(changes iptables pkttype) $(changes iptables tcp-reset)"

step "The LAN reaches the Internet, which sees the router's address only"
reaches "a page of the Internet" shop "$wan" pc1 "http://$shop/cgi-bin/who"
counted "the new connection was logged" filter FORWARD '[Out Going]'
counted "its segment size was cut to the WAN's" filter FORWARD '--set-mss 1360'
look_ups pc1 20 192.168.1.1
comes "20 name look-ups at the router are forwarded" looked_up 20
counted "the first name server has some" nat DNS 203.0.113.53
counted "and the second one some" nat DNS 203.0.113.54

step "A forwarded port reaches its computer, from outside and from inside"
reaches "port 8080 from outside" pc2 "$provider_gateway" provider "http://$wan:8080/cgi-bin/who"
reaches "port 8080 from inside, where the answer must come back through the router" pc2 192.168.1.1 \
    pc1 "http://$wan:8080/cgi-bin/who"
reaches "port 1750 of a range" pc2 "$provider_gateway" provider "http://$wan:1750/cgi-bin/who"
counted "the port was logged" filter FORWARD '[PORT FORWARD]'
counted "the range was logged" filter FORWARD '[PORT RANGE FORWARD]'
# The range contains the port of PPTP, whose traffic is GRE.
same "rules for GRE" "1 1 1" "$(rules nat PF '-p gre' | wc -l) $(rules nat POSTROUTING '-p gre' | wc -l) \
$(rules filter FORWARD '-p gre' | wc -l)"
no_answer "a port that is not forwarded" provider "http://$wan:8081/cgi-bin/who"
no_answer "the computer's own address from outside" provider http://192.168.1.40/cgi-bin/who
counted "and is dropped before routing" nat PRE_BASIC NFQUEUE

step "Remote management answers one address only, on its own port only"
page="http://$wan:8889/"
get provider --interface "$friend" -u admin:1234 -o /dev/null -w '%{http_code}' "$page"
same "from $friend" 200 "$got"
no_answer "from $provider_gateway" provider --interface "$provider_gateway" "$page"
no_answer "from $friend, the web server's own port" provider --interface "$friend" "http://$wan/"

step "A service is blocked, for all but a trusted MAC address"
no_answer "port 21" pc1 "http://$shop:21/cgi-bin/who"
counted "it is logged" filter ACL_BLOCK '[ACCESS BLOCK]'
counted "and dropped" filter ACL_BLOCK '-j DROP'
reaches "port 80" shop "$wan" pc1 "http://$shop/cgi-bin/who"
reaches "port 21 for the trusted pc2" shop "$wan" pc2 "http://$shop:21/cgi-bin/who"

step "A keyword is blocked while the schedule is open, for all but the trusted address"
same "/tmp/cron_schedule" 1 "$(cat "$root/tmp/cron_schedule")"
fails "a page with the keyword" "cut off" pc1 "http://$shop/cgi-bin/casino"
counted "it is logged" filter BLOCK '[BLOCK]'
counted "and rejected" filter BLOCK '--reject-with tcp-reset'
reaches "a page without" shop "$wan" pc1 "http://$shop/cgi-bin/who"
reaches "the page with the keyword for the trusted pc2" shop "$wan" pc2 "http://$shop/cgi-bin/casino"
comes "the firewall starts again at the period's edges" in_file "^0 14 \* \* $today root /usr/sbin/rc firewall start" \
    /var/crontab

step "More pings than 5 a second are dropped, after the first 60"
# pings_counted: the rules have let through, or dropped, all that were sent.
pings_counted() {
    through=$(($(packets filter DOS '--limit 5/sec') - allowed))
    dropped=$(packets filter DOS '-j DROP')
    [ $((through + dropped)) = 240 ]
}
pings_are_answered() {
    [ $(($(pings_answered provider) - answered)) = "$through" ]
}
allowed=$(packets filter DOS '--limit 5/sec')
answered=$(pings_answered provider)
began=$(date +%s)
flood provider 240 "$wan" "$(mac_of eth2.2)"
comes "240 pings are counted" pings_counted
limit=$((60 + 5 * ($(date +%s) - began + 1)))
if [ "$through" -ge 60 ] && [ "$through" -le "$limit" ]; then
    passed "let through by the rule: $through of 240, 60 to $limit expected"
else
    failed "let through by the rule: $through of 240, 60 to $limit expected"
fi
comes "all that were let through are answered, and no others" pings_are_answered
counted "logged" filter DOS '[DOS] '

step "The owner lifts the block, sets a DMZ host, permits remote management from more addresses, turns QoS on, and sets the clock back"
console nvram set ac_control=0
console nvram set "time_zone=$morning"
console nvram set fw_dmz_enable=1
console nvram set fw_dmz=192.168.1.50
console nvram set fw_remote_type=2
console nvram set fw_remote_range_start=203.0.113.1
console nvram set fw_remote_range_end=203.0.113.5
console nvram set fw_ttl=4
console nvram set fw_ttl_ud=77
console nvram set qos_enable=1
console nvram set qos_type=priority
console nvram set wan_bandwidth=1000
console nvram set "qos=$(qos_record 0 surfing 80 0)$(qos_record 1 pages 80 2)"
forget_firewall
console rc firewall restart
comes "QoS is set up" qos_is_up 4
same "refused: the removal of 2 queues, by the stop and by the script" "4 no such qdisc" \
    "$(refusals | sort | uniq -c | xargs)"
same "/tmp/cron_schedule" 0 "$(cat "$root/tmp/cron_schedule")"
same "rules for keywords" "" "$(rules filter CFILTER '-j HTTP')$(rules filter HTTP '--string')"
reaches "the page with the keyword" shop "$wan" pc1 "http://$shop/cgi-bin/casino"
reaches "port 21" shop "$wan" pc1 "http://$shop:21/cgi-bin/who"
reaches "a port of the WAN that nothing else uses: the DMZ host" pc3 "$provider_gateway" \
    provider "http://$wan:5000/cgi-bin/who"
reaches "a forwarded port, still its own computer" pc2 "$provider_gateway" \
    provider "http://$wan:8080/cgi-bin/who"
get provider --interface "$provider_gateway" -u admin:1234 -o /dev/null -w '%{http_code}' "$page"
same "remote management from $provider_gateway" 200 "$got"
fails "from $friend the same port is the DMZ host's, which serves nothing there" refused \
    provider --interface "$friend" "$page"
same "the TTL that the router sets" 77 "$(ttl_seen pc1 "$shop")"

step "QoS: marked packets are counted in their class, and the line keeps to its rate"
requests=$(class_bytes eth2.2 1:10)
pages=$(class_bytes br0 1:30)
others=$(class_bytes eth2.2 1:20)
get pc1 -o /dev/null -w '%{size_download} %{time_total}' "http://$shop/big"
read -r size seconds <<< "$got"
same "a file of 100 kB" 100000 "$size"
# Without QoS this takes a few milliseconds. A busy machine takes longer, never less.
if awk -v seconds="$seconds" 'BEGIN { exit !(seconds > 0.6) }'; then
    passed "it took $seconds s, at least 0.8 s less the first burst at 1000 kbit/s"
else
    failed "it took $seconds s, and at 1000 kbit/s it takes 0.8 s less the first burst"
fi
console /usr/sbin/tc -s class show dev br0
same "the rate of all classes of br0 together" 1Mbit \
    "$(sed -nE 's/^class htb 1:1 root .*rate ([^ ]+) ceil.*/\1/p' "$world/output")"
at_least "pages from the WAN's port 80, class 1:30 of br0, bytes" 100000 "$(($(class_bytes br0 1:30) - pages))"
at_least "requests to port 80, class 1:10 of eth2.2, bytes" 1000 "$(($(class_bytes eth2.2 1:10) - requests))"
pings pc1 10 "$shop" > /dev/null
# Including the router's ARP requests, which are in the same class.
at_least "10 pings, which no rule marks, class 1:20 of eth2.2, bytes" $((10 * 98)) \
    "$(($(class_bytes eth2.2 1:20) - others))"

step "The clock is right again, and the period is open: cron starts the firewall at its edge"
console nvram set "time_zone=$noon"
forget_firewall
console rc firewall start
comes "QoS is set up, once more" qos_is_up 8
same "refused: nothing, since the chains and the queues exist now" "" "$(refusals)"
same "/tmp/cron_schedule" 1 "$(cat "$root/tmp/cron_schedule")"
same "rules for two keywords" 2 "$(rules filter HTTP '--string' | wc -l)"
fails "the page with the keyword" "cut off" pc1 "http://$shop/cgi-bin/casino"
reaches "a page without" shop "$wan" pc1 "http://$shop/cgi-bin/who"
# Only a stop empties the table mangle.
same "rules for the TTL, and for the mark of a page, after a start without a stop" "2 2" \
    "$(rules mangle POSTROUTING TTL | wc -l) $(rules mangle FORWARD '--set-xmark 0x3/' | wc -l)"

step "The services are stopped: the router is open, and translates no address"
console rc service stop
same "the filter's policies and rules" "-P INPUT ACCEPT; -P FORWARD ACCEPT; -P OUTPUT ACCEPT" \
    "$(plain_rules filter '' | grep -v '^-N' | awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }')"
same "rules of the table nat" \
    "-A PREROUTING -i eth2.2 -p udp -m udp --dport 68 -j DNAT --to-destination 255.255.255.255" \
    "$(plain_rules nat '' '-A')"
same "rules of the table mangle" "" "$(rules mangle '' '-A')"
same "QoS on br0 and eth2.2" "" "$(router /usr/lab/tc qdisc show | grep htb)"
get provider -u admin:1234 -o /dev/null -w '%{http_code}' "http://$wan/"
same "the web server, on its own port from outside" 200 "$got"
fails "the forwarded port" refused provider "http://$wan:8080/cgi-bin/who"
reaches "a computer of the LAN by its own address" pc2 "$provider_gateway" \
    provider http://192.168.1.40/cgi-bin/who
reaches "the Internet sees the LAN's addresses" shop 192.168.1.33 pc1 "http://$shop/cgi-bin/who"
