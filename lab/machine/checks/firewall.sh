# The firewall and QoS on ppp0, with the kernel's own sfq and fw, and its log.
# shellcheck shell=bash

refused() {
    noted iptables refused | grep -v -e '^-t nat -X ' -e '^-t filter -X '
    noted tc refused | grep -v '^qdisc del dev [^ ]* root: '
}

step "The firewall's rules are on ppp0"
# Both the end of `rc wan start` and ip-up restart the services. The later run ends the earlier one, but not the script
# of QoS that it has started; which lines tc refuses to the two then depends on how fast the link came up. So the checks
# restart the firewall first.
comes "the script of QoS, started in the background, has ended" not_running qos.conf
forget_firewall
console rc firewall restart
comes "QoS is set up" qos_is_up 4
same "refused by iptables and tc, except the removal of chains and queues that do not exist yet" "" "$(refused)"
same "the masquerade" "-A POSTROUTING -o ppp0 -j MASQUERADE" "$(plain_rules nat POSTROUTING MASQUERADE)"
mss=$((mtu - 40))
same "the segment size is cut for both directions" "-A FORWARD -p tcp -m tcp --tcp-flags SYN,RST,ACK SYN \
-m tcpmss --mss $((mss + 1)):65535 -j TCPMSS --set-mss $mss; -A FORWARD -p tcp -m tcp --tcp-flags SYN,RST,ACK SYN,ACK \
-m tcpmss --mss $((mss + 1)):65535 -j TCPMSS --set-mss $mss" \
    "$(plain_rules filter FORWARD TCPMSS | awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }')"
same "the kernel forwards" 1 "$(router cat /proc/sys/net/ipv4/ip_forward)"

known_page=([provider]="http://$wan:8080/cgi-bin/who")

step "Packets: out through NAT, in by a forwarded port, and others dropped"
reaches "a page of the Internet" shop "$wan" pc1 "http://$shop/cgi-bin/who"
counted "its segment size was cut" filter FORWARD "--set-mss $mss"
reaches "port 8080 from outside" pc2 10.64.0.1 provider "http://$wan:8080/cgi-bin/who"
no_answer "a port that is not forwarded" provider "http://$wan:8081/cgi-bin/who"
no_answer "the web server's own port from outside" provider "http://$wan/"
in_net provider ip route add 192.168.1.0/24 via "$wan"
no_answer "a computer's own address from outside" provider http://192.168.1.40/cgi-bin/who
counted "and is dropped before routing" nat PRE_BASIC NFQUEUE
# The machine's log is read outside the router; nothing else writes such lines.
log=$(dmesg | grep -o '\[[A-Z][A-Za-z ]*\]IN=[a-z0-9]* OUT=[a-z0-9]*' | sort -u)
same "the kernel's log has the outgoing connection" "[Out Going]IN=br0 OUT=ppp0" "$(echo "$log" | grep -F '[Out Going]')"
same "and the forwarded port" "[PORT FORWARD]IN=ppp0 OUT=br0" "$(echo "$log" | grep -F '[PORT FORWARD]')"

step "QoS: the kernel accepts the generated sfq queues and fw filters, and counts marked packets"
same "lines that the adapter had to translate for tc" "" "$(noted tc changed)"
for device in br0 ppp0; do
    same "queues of $device" "htb 1: root; sfq 10: 1:10; sfq 20: 1:20; sfq 30: 1:30" \
        "$(router /usr/lab/tc qdisc show dev "$device" | awk '{ where = $4 == "root" ? "root" : $5
            print $2, $3, where }' | sort | awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }')"
    same "filters of $device" "0x1 1:10; 0x2 1:20; 0x3 1:30" \
        "$(router /usr/lab/tc filter show dev "$device" | sed -nE 's/.* fw .*handle (0x[0-9a-f]+) classid ([0-9:]+).*/\1 \2/p' |
            sort | awk '{ printf "%s%s", (NR > 1 ? "; " : ""), $0 }')"
done
requests=$(class_bytes ppp0 1:10)
pages=$(class_bytes br0 1:30)
get pc1 -o /dev/null -w '%{size_download}' "http://$shop/big"
same "a file of 100 kB" 100000 "$got"
at_least "pages from port 80, class 1:30 of br0, bytes" 100000 "$(($(class_bytes br0 1:30) - pages))"
at_least "requests to port 80, class 1:10 of ppp0, bytes" 1000 "$(($(class_bytes ppp0 1:10) - requests))"

step "The kernel's messages leave the console, and come back"
router sh -c 'echo 7 > /proc/sys/kernel/printk'
console rc printk start
same "the console's level" 1 "$(cut -f 1 /proc/sys/kernel/printk)"
console rc printk stop
same "the console's level" 7 "$(cut -f 1 /proc/sys/kernel/printk)"
router sh -c 'echo 1 > /proc/sys/kernel/printk'
