#!/bin/sh
# The command rcplan packet: what it prints, as text and as JSON, and its statuses.
#   packet_command_test.sh RCPLAN
rcplan=$1
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
failures=0

cat > settings << 'END'
fw_in_rules=web:1:all:8080:80:tcp:40
fw_nat=1
lan_if=br0
lan_ipaddr=192.168.1.1
lan_netmask=255.255.255.0
wan_ifname=eth2.2
wan_mode=ip
wan_mtu=1500
END

# expect STATUS WORDS...: runs rcplan packet on these settings, output in "out", messages in "err".
expect() {
    wanted=$1
    shift
    "$rcplan" packet --settings settings "$@" > out 2> err
    status=$?
    [ "$status" = "$wanted" ] && return
    echo "rcplan packet $*: status $status, expected $wanted"
    cat out err
    failures=$((failures + 1))
}

# says LINE: the output contains the line.
says() {
    grep -qxF -- "$1" out && return
    echo "missing: $1"
    cat out
    failures=$((failures + 1))
}

# ends LINE: the verdict.
ends() {
    [ "$(tail -n 1 out)" = "$1" ] && return
    echo "expected at the end: $1"
    cat out
    failures=$((failures + 1))
}

# is FILE: its content equals standard input.
is() {
    cat > wanted
    diff wanted "$1" && return
    failures=$((failures + 1))
}

expect 0 --wan-address 10.0.0.2 --proto tcp --src 198.51.100.80 --dst 10.0.0.2 --dport 8080
is out << 'END'
packet  tcp 198.51.100.80 to 10.0.0.2:8080, in on eth2.2, NEW, SYN
assumed its TCP flags are SYN (--flags)
assumed it arrives on eth2.2, the route to 198.51.100.80 (--in)
assumed the SYN announces an MSS of 1460 (--mss)

mangle PREROUTING
    policy ACCEPT
nat PREROUTING
     1  -j PRE_BASIC: no rule matches
     2  -j PRE_PROXY: no rule matches
     3  -j UPNP: no rule matches
     4  -j PT: no rule matches
     5  -j NAPT: no rule matches
     6  -j PF
        PF
             1  -p tcp --dport 8080 --dst 10.0.0.2 -j DNAT --to-destination 192.168.1.40:80
                = to 192.168.1.40:80 [/tmp/rules line 86]
forwarded to br0
mangle FORWARD
    policy ACCEPT
filter FORWARD
     3  -j CFILTER: no rule matches
     4  -j OUT_FILTER: no rule matches
     5  -j FW_BASIC
        FW_BASIC
             2  -p tcp --tcp-flags SYN,RST SYN -j TCPMSS --clamp-mss-to-pmtu
                = MSS limited to the path MTU [/tmp/rules line 66]
     6  -j IN_FILTER: no rule matches
     7  -j FW_UPNP: no rule matches
     8  -p tcp -d 192.168.1.40 --dport 80 -j LOG --log-level 4 --log-prefix "[PORT FORWARD]"
        = logged as "[PORT FORWARD]" [/tmp/rules line 88]
     9  -p tcp -d 192.168.1.40 --dport 80 -j ACCEPT
mangle POSTROUTING
    policy ACCEPT
nat POSTROUTING
    policy ACCEPT

to      rule 1 of PF, /tmp/rules line 86
        iptables -t nat -A PF -p tcp --dport 8080 --dst 10.0.0.2 -j DNAT --to-destination 192.168.1.40:80
        <- if ap_mode is not set; fw_in_rules entry 1=web:1:all:8080:80:tcp:40; lan_ipaddr=192.168.1.1; wan_ifname=eth2.2; eth2.2 has the address 10.0.0.2
  via   rule 6 of nat's PREROUTING, /tmp/rules line 48
        iptables -t nat -A PREROUTING -j PF
        <- if ap_mode is not set
verdict rule 9 of FORWARD, /tmp/rules line 89
        iptables -A FORWARD -p tcp -d 192.168.1.40 --dport 80 -j ACCEPT
        <- if ap_mode is not set; fw_in_rules entry 1=web:1:all:8080:80:tcp:40; lan_ipaddr=192.168.1.1
ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)
END

expect 1 --wan-address 10.0.0.2 --proto udp --src 198.51.100.80 --dst 10.0.0.2 --dport 8080
says "verdict INPUT's policy, /tmp/rules line 51"
ends "DROP by INPUT's policy"
expect 1 --set ac_control=1 --no-why --proto tcp --src 192.168.1.33 --dst 198.51.100.80 --dport 80
says 'assumed eth2.2 has no address (--wan-address, --world)'
ends 'DROP by rule 1 of ACL_BLOCK'
grep -q '<-' out && { echo 'settings though --no-why'; failures=$((failures + 1)); }

# Each jump on the way has its own settings, and a list's entry its number.
expect 1 --set ac_control=1 --set 'access_control=0000NEWS' --set 'fw_services=MAIL:tcp:25-25\x01NEWS:tcp:119-119' \
    --set lan_if=br0 --proto tcp --src 192.168.1.33 --dst 198.51.100.80 --dport 80
ends 'DROP by rule 1 of ACL_BLOCK'
grep -q '^  via   rule [0-9]* of [A-Z_]*, /tmp/rules line [0-9]*$' out || { cat out; failures=$((failures + 1)); }

# An action other than a start; a world instead of --wan-address.
echo 'interface eth2.2 10.0.0.2' > world
expect 0 --world world --proto udp --src 10.0.0.1 --dst 10.0.0.2 --dport 68 firewall stop
says '        iptables -t nat -I PREROUTING -i eth2.2 -p udp --dport 68 -j DNAT --to 255.255.255.255'
ends "ACCEPT by INPUT's policy, to 255.255.255.255:68 (DNAT by rule 1 of nat's PREROUTING)"

# Lines that iptables refuses, and lines that are not understood.
expect 1 --set fw_dmz_enable=1 --set fw_dmz=192.168.1.50 --proto gre --src 198.51.100.80 --dst 10.0.0.2
says "refused iptables -t nat -I DMZ -d  -p ! icmp -j DNAT --to 192.168.1.50: '-d -p' is invalid"
# shellcheck disable=SC2016  # The keyword itself has a dollar.
keyword='$x'
expect 2 --set fw_block=1 --set "fw_block_keyword=$keyword" --proto gre --src 192.168.1.33 --dst 198.51.100.80
says "unread  iptables -A HTTP -m string --string $keyword --algo kmp -j BLOCK: the shell would expand \"\$\" or \"\`\""
tail -n 1 out | grep -q '^UNKNOWN: ' || { cat out; failures=$((failures + 1)); }

expect 0 --json --wan-address 10.0.0.2 --proto tcp --src 198.51.100.80 --dst 10.0.0.2 --dport 8080
[ "$(wc -l < out)" = 1 ] || { echo 'more than one line of JSON'; failures=$((failures + 1)); }
/usr/bin/python3 - << 'END' || failures=$((failures + 1))
import json

said = json.load(open("out"))
decision = said["decision"]
assert said["verdict"] == "accept", said["verdict"]
assert said["text"] == "ACCEPT by rule 9 of FORWARD, to 192.168.1.40:80 (DNAT by rule 1 of PF)", said["text"]
assert (decision["table"], decision["chain"], decision["rule"]) == ("filter", "FORWARD", 9), decision
assert (decision["origin"]["file"], decision["origin"]["line"]) == ("/tmp/rules", 89), decision
lan = {"kind": "setting", "name": "lan_ipaddr", "answer": "192.168.1.1", "decides": False}
assert lan in decision["origin"]["why"], decision
assert said["destination_nat"]["chain"] == "PF", said["destination_nat"]
jumps = said["destination_nat"]["jumps"]
assert [(jump["table"], jump["chain"], jump["rule"]) for jump in jumps] == [("nat", "PREROUTING", 6)], jumps
rules = [reason for reason in decision["origin"]["why"] if reason["name"] == "fw_in_rules"]
assert [reason["entries"] for reason in rules] == [[1]], decision
assert said["source_nat"] is None and said["marked"] is None
assert said["packet"]["destination"] == "10.0.0.2"
after = said["packet_after"]
assert (after["destination"], after["destination_port"], after["out"]) == ("192.168.1.40", 80, "br0"), after
assert said["assumed"][0] == "its TCP flags are SYN (--flags)", said["assumed"]
chains = [step["chain"] for step in said["steps"] if step["type"] == "chain" and step["table"] == "nat"]
assert (chains[0], chains[-1]) == ("PREROUTING", "POSTROUTING"), chains
# A first start removes twenty chains that do not exist yet.
assert len(said["refused"]) == 20 and not any(line["unread"] for line in said["refused"])
END

# Usage errors.
expect 2
expect 2 --proto tcp
expect 2 --proto tcp --dst 10.0.0.2
is err << 'END'
rcplan: --src and --in are missing; give one of them
END
expect 2 --proto tcp --src 10.0.0.1 --dst here
is err << 'END'
rcplan: --dst 'here': not understood
END
expect 2 --proto tcp --src 10.0.0.1 --dst 10.0.0.2 --wan-address none
is err << 'END'
rcplan: --wan-address none: not an IPv4 address; expected four numbers, such as 203.0.113.7
END
expect 2 --set wan_ifname= --wan-address 10.0.0.2 --proto tcp --src 10.0.0.1 --dst 10.0.0.2
is err << 'END'
rcplan: --wan-address 10.0.0.2: the settings name no WAN interface; set wan_ifname
END
expect 2 --bogus --proto tcp --src 10.0.0.1 --dst 10.0.0.2
expect 0 --help
grep -q -- '--over-limit' out || { cat out; failures=$((failures + 1)); }

[ "$failures" = 0 ] || exit 1
echo 'ok: rcplan packet'
