#!/bin/sh
# rcplan diff: statuses, messages, and what it prints in full.
#   diff_test.sh RCPLAN
rcplan=$1
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
failures=0

# expect STATUS WORDS...: runs rcplan diff, output in "out", messages in "err".
expect() {
    wanted=$1
    shift
    "$rcplan" diff "$@" > out 2> err
    status=$?
    [ "$status" = "$wanted" ] && return
    echo "rcplan diff $*: status $status, expected $wanted"
    cat out err
    failures=$((failures + 1))
}

# prints: the whole output is the text on standard input.
prints() {
    cat > wanted
    diff -u wanted out && return
    failures=$((failures + 1))
}

# says FILE TEXT: the file contains the whole line.
says() {
    grep -qxF -- "$2" "$1" && return
    echo "missing in $1: $2"
    cat "$1"
    failures=$((failures + 1))
}

cat > a << 'END'
# a router in use
device_name=Attic
dhcp_end_ip=192.168.1.64
dhcp_server_enable=1
dhcp_start_ip=192.168.1.33
fw_nat=1
http_password=first
http_timeout=5
http_username=admin
lan_if=br0
lan_ipaddr=192.168.1.1
lan_lease_time=1
lan_netmask=255.255.255.0
log_type=0
pppoe_password=first
rt_rip_direction=0
time_zone=GMT-0
wan_line=ethernet
wan_mode=dhcpc
wan_mtu=1500
wan_phy_ifname=eth2.2
END
# with K=V...: "b" is "a" with these settings.
with() {
    cp a b
    for change in "$@"; do
        grep -av "^${change%%=*}=" b > rest
        echo "$change" >> rest
        mv rest b
    done
}

# One rc run: the lines of a file that differ, each with its reason.
with dhcp_start_ip=192.168.1.40 lan_lease_time=2 pppoe_password=second unheard_of=1
expect 1 a b dhcpd restart
prints << 'END'
settings that differ:
- dhcp_start_ip=192.168.1.33
+ dhcp_start_ip=192.168.1.40
- lan_lease_time=1
+ lan_lease_time=2
- pppoe_password=********
+ pppoe_password=********
+ unheard_of=1

rc dhcpd restart: differs
           write  /etc/udhcpd.conf
-               | start\t\t192.168.1.33
+               | start\t\t192.168.1.40
                <- dhcp_start_ip
-               | option\tlease\t86400
+               | option\tlease\t172800
                <- lan_lease_time
  total  commands 3, files written 2, settings stored 0, pauses 0 s
END
# Nothing changes for the web server.
expect 0 a b httpd restart
says out 'rc httpd restart: nothing differs'
says out '+ unheard_of=1'

# Without words: the restarts, and the unused settings.
expect 1 a b
prints << 'END'
settings that differ:
- dhcp_start_ip=192.168.1.33
+ dhcp_start_ip=192.168.1.40
- lan_lease_time=1
+ lan_lease_time=2
- pppoe_password=********
+ pppoe_password=********
+ unheard_of=1

run, in this order:
rc dhcpd restart     because of dhcp_start_ip, lan_lease_time: /etc/udhcpd.conf changes

used by no action: pppoe_password, unheard_of

assumed about the router (override with --world):
       it runs with A, and its Internet side is up
END

expect 0 a a
prints << 'END'
no setting differs

no action is needed

assumed about the router (override with --world):
       it runs with A, and its Internet side is up
END
expect 0 a a lan start
prints << 'END'
no setting differs

rc lan start: nothing differs
END
# Differing settings without an effect are no difference.
with pppoe_password=second
expect 0 a b
says out 'used by no action: pppoe_password'

# A group instead of two applications, effects that need a boot, and the boot's order.
with dhcp_start_ip=192.168.1.40 http_timeout=9 restore_default=1
expect 1 a b
prints << 'END'
settings that differ:
- dhcp_start_ip=192.168.1.33
+ dhcp_start_ip=192.168.1.40
- http_timeout=5
+ http_timeout=9
+ restore_default=1

run, in this order:
rc restart           because of dhcp_start_ip, http_timeout: /etc/udhcpd.conf and its commands change

alternative with 6 commands instead of 43, and pauses of 0 s instead of 7 s:
rc httpd restart     because of http_timeout: its commands change
rc dhcpd restart     because of dhcp_start_ip: /etc/udhcpd.conf changes

needs a boot:
rc init              because of restore_default: its commands change
read only at boot: restore_default

assumed about the router (override with --world):
       it runs with A, and its Internet side is up
END

# What A's stop removes and B's does not.
cp a route
echo 'rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1' >> route
expect 1 route a
prints << 'END'
settings that differ:
- rt_static_route=office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1

run before changing the settings, because afterwards it does less:
rc route stop        because of rt_static_route:
    /sbin/route del -net 10.1.0.0 netmask 255.255.0.0 gw 192.168.1.254 metric 2

run, in this order:
rc route restart     because of rt_static_route: /etc/gateways, /tmp/sroute and its commands change

assumed about the router (override with --world):
       it runs with A, and its Internet side is up
END

# Commands and pauses of one side, with their places and totals.
with wan_mode=ras
expect 1 a b wan restart
prints << 'END'
settings that differ:
- wan_mode=dhcpc
+ wan_mode=ras

rc wan restart: differs
-          print  wan mode =dhcpc
-          print  start_dhcpc()
+          print  wan mode =ras
+          print  start_ras()
                <- wan_mode
           set    wan_ifname=eth2.2
-     3 s  run    /sbin/ifconfig eth2.2 up
                <- wan_mode
           run    /sbin/ifconfig eth2.2 up
-     3 s  run    /usr/sbin/udhcpc -i eth2.2 -s /etc/udhcpc.script -H &
+     3 s  pause  2 s
+     5 s  run    /usr/sbin/rasmonitor &
                <- wan_mode
- total  commands 17, files written 3, settings stored 1, pauses 3 s
+ total  commands 16, files written 3, settings stored 1, pauses 5 s
END

# The pause of a nested run, after the call that starts it.
with wan_mode=pppoe
expect 1 a b wan start
says out '+     0 s  pause  4 s'
says out '+     4 s  run    /usr/sbin/rc service restart'
says out '+     4 s      run    iptables -t nat -F'
says out '- total  commands 5, files written 2, settings stored 1, pauses 0 s'

# A stated router: a world with another address of the Internet side.
echo 'interface eth2.2 203.0.113.9' > world
with fw_dmz_enable=1 fw_dmz=192.168.1.9 wan_ifname=eth2.2
expect 1 --world world a b firewall create
says out '+               | iptables -t nat -I DMZ -d 203.0.113.9 -p ! icmp -j DNAT --to 192.168.1.9'
expect 1 --world world a b
grep -q '^assumed' out && { echo 'a stated router is not assumed'; failures=$((failures + 1)); }
echo 'setting lan_if=br0' > wrong.world
expect 2 --world wrong.world a b
says err "rcplan: wrong.world: line 1: 'setting' does not belong into a world"

# JSON: each line an object, in the order of the text.
with dhcp_start_ip=192.168.1.40 http_password=second unheard_of=1
expect 1 --json a b
prints << 'END'
{"type":"setting","key":"dhcp_start_ip","a":"192.168.1.33","b":"192.168.1.40","secret":false}
{"type":"setting","key":"http_password","a":"********","b":"********","secret":true}
{"type":"setting","key":"unheard_of","a":null,"b":"1","secret":false}
{"type":"action","words":["restart"],"covers":["httpd","dhcpd"],"because":["dhcp_start_ip","http_password"],"files":["/etc/udhcpd.conf","/tmp/htpasswd"],"settings_stored":[],"commands":false,"runs_commands":43,"pauses_us":7000000}
{"type":"gentler","actions":[["httpd","restart"],["dhcpd","restart"]],"runs_commands":6,"pauses_us":0}
{"type":"unused","key":"unheard_of"}
{"type":"total","actions":[["restart"]],"runs_commands":43,"pauses_us":7000000,"differs":true}
END
with http_timeout=9 http_password=second
expect 1 --json a b httpd start
prints << 'END'
{"type":"setting","key":"http_password","a":"********","b":"********","secret":true}
{"type":"setting","key":"http_timeout","a":"5","b":"9","secret":false}
{"type":"lines","verb":"write","depth":0,"text":"/tmp/htpasswd","a":["| admin:********"],"b":["| admin:********"],"because":["http_password"]}
{"type":"events","a":[{"verb":"run","depth":0,"text":"/usr/sbin/mini_httpd -d /usr/www -r \"Attic\" -c '*.cgi' -t 300&","elapsed_us":0}],"b":[{"verb":"run","depth":0,"text":"/usr/sbin/mini_httpd -d /usr/www -r \"Attic\" -c '*.cgi' -t 540&","elapsed_us":0}],"because":["http_timeout"]}
{"type":"total","differs":true,"a":{"status":0,"commands":2,"files_written":1,"settings_stored":0,"pauses_us":0},"b":{"status":0,"commands":2,"files_written":1,"settings_stored":0,"pauses_us":0}}
END
# Every object of every kind can be parsed, with any bytes in the settings.
with wan_mode=pppoe restore_default=1 "device_name=$(printf 'caf\351 \134"<')" unheard_of=1
for words in '' 'wan restart' 'httpd start' 'init'; do
    # shellcheck disable=SC2086 # words of rc
    expect 1 --json a b $words
    /usr/bin/python3 - << 'END' || { cat out; failures=$((failures + 1)); }
import json
objects = [json.loads(line) for line in open("out")]
assert objects[-1]["type"] == "total" and objects[-1]["differs"], objects[-1]
device = next(o for o in objects if o.get("key") == "device_name")
assert device["a"] == "Attic" and device["b_hex"] == "636166e9205c223c", device
END
done
expect 1 --json route a
says out '{"type":"before","words":["route","stop"],"because":["rt_static_route"],"only_with_a":["/sbin/route del -net 10.1.0.0 netmask 255.255.0.0 gw 192.168.1.254 metric 2"]}'
with restore_default=1
expect 1 --json a b
says out '{"type":"boot","words":["init"],"because":["restore_default"],"files":[],"settings_stored":[],"commands":true,"only":["restore_default"]}'

# Secrets are shown only on request.
with http_password=second pppoe_password=
expect 1 a b httpd start
prints << 'END'
settings that differ:
- http_password=********
+ http_password=********
- pppoe_password=********
+ pppoe_password=

rc httpd start: differs
           write  /tmp/htpasswd
-               | admin:********
+               | admin:********
                <- http_password
  total  commands 2, files written 1, settings stored 0, pauses 0 s
END
expect 1 --show-secrets a b httpd start
says out '+ http_password=second'
says out '-               | admin:first'
says out '+               | admin:second'
expect 1 --show-secrets --json a b httpd start
says out '{"type":"setting","key":"http_password","a":"first","b":"second","secret":true}'

# Colours only on request.
escape=$(printf '\033')
with http_password=second
expect 1 a b httpd start
grep -q "$escape" out && { echo 'colour without a terminal'; failures=$((failures + 1)); }
expect 1 --color always --show-secrets a b httpd start
says out "${escape}[31m-               | admin:first${escape}[0m"
says out "${escape}[32m+               | admin:second${escape}[0m"

# Usage errors.
expect 2
expect 2 a
expect 2 a missing
says err 'rcplan: missing: No such file or directory'
expect 2 missing a lan start
expect 2 . a
echo 'no setting at all' >> b
expect 2 a b
grep -q "^rcplan: b: line [0-9]* " err || { cat err; failures=$((failures + 1)); }
expect 2 --bogus a a
expect 2 --color pink a a
expect 2 --world missing a a
[ ! -s out ] || { echo 'output despite a usage error'; failures=$((failures + 1)); }
expect 0 --help
grep -q -- '--world' out || failures=$((failures + 1))

[ "$failures" = 0 ] || exit 1
echo 'ok: rcplan diff'
