#!/bin/sh
# The command rcplan itself: statuses, messages, and what --update writes.
#   rcplan_test.sh RCPLAN VERSION WORLDS
rcplan=$1
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
failures=0

# expect STATUS WORDS...: runs rcplan, output in "out", messages in "err".
expect() {
    wanted=$1
    shift
    "$rcplan" "$@" > out 2> err
    status=$?
    [ "$status" = "$wanted" ] && return
    echo "rcplan $*: status $status, expected $wanted"
    cat out err
    failures=$((failures + 1))
}

# says FILE TEXT: the file contains the whole line, after the time in the left column.
says() {
    cut -c 11- "$1" | grep -qxF -- "$2" && return
    grep -qxF -- "$2" "$1" && return
    echo "missing in $1: $2"
    cat "$1"
    failures=$((failures + 1))
}

cat > settings << 'END'
# factory
lan_if=br0
http_timeout=5
END
expect 0 run --settings settings --set http_timeout=7 --set device_name=R -- httpd start
says out "run    /usr/sbin/mini_httpd -d /usr/www -r \"R\" -c '*.cgi' -t 420&"
expect 0 run --settings settings init
says out 'load'
expect 0 run wan
says out 'exit   255'

says out 'total  commands 0, files written 0, settings stored 0, pauses 0 s'

# A restart of the Internet side in each mode, the stop's clients and the nested runs included.
while read -r mode total; do
    expect 0 run --set "wan_mode=$mode" --set pptp_type=1 --set l2tp_type=1 --set ras_dod=1 --set ap_mode=1 \
        wan restart
    says out 'run    /usr/sbin/rc service stop'
    says out '    print  ap_name=(null) action=stop'
    says out "print  wan mode =$mode"
    says out "total  $total"
done << 'END'
dhcpc commands 17, files written 3, settings stored 1, pauses 3 s
pppoe commands 33, files written 5, settings stored 2, pauses 8 s
pptp commands 26, files written 3, settings stored 1, pauses 3 s
bpa commands 15, files written 4, settings stored 1, pauses 4 s
ras commands 17, files written 3, settings stored 1, pauses 6 s
l2tp commands 20, files written 7, settings stored 1, pauses 3 s
ip commands 37, files written 7, settings stored 2, pauses 4 s
END

expect 2 run
says err 'rcplan: run: WORDS is required'
expect 2 run --settings
expect 2 run --settings missing lan start
says err 'rcplan: missing: No such file or directory'
expect 2 run --settings . lan start
expect 2 run --set novalue lan start
says err 'rcplan: --set novalue: not a setting; write KEY=VALUE'
expect 2 run --set 'bad key=1' lan start
expect 2 run --bogus x lan start
expect 2 bogus
says err 'rcplan: bogus: unknown command'
expect 2 --bogus
says err 'rcplan: --bogus: unknown option'
expect 2
says err 'rcplan: missing command'
expect 0 --help
grep -q 'check' out || failures=$((failures + 1))
expect 0 run --help
grep -q -- '--why' out || failures=$((failures + 1))
expect 0 --version
says out "rcplan $2"

cat > good.case << 'END'
# a title
command  rc httpd stop
expect
print  ap_name=httpd action=stop
run    echo /proc/uptime >/var/run/rc.httpd.run
run    /usr/bin/killall mini_httpd
remove /var/run/rc.httpd.run
exit   0
END
expect 0 check good.case
says out 'ok       good.case'
sed 's/killall/killall -9/' good.case > other.case
expect 1 check good.case other.case
says out '- run    /usr/bin/killall -9 mini_httpd'
says out '+ run    /usr/bin/killall mini_httpd'
sed '/^exit/d' good.case > cut.case
expect 1 check cut.case
sed '/^remove/{h;d};/^exit/{G}' good.case > order.case
expect 1 check order.case
grep -v expect good.case > broken.case
expect 2 check broken.case
says err "rcplan: broken.case: line 3: 'print' is not a line of a case"
expect 2 check missing.case
expect 2 check

expect 0 check --update other.case
says out 'updated  other.case'
cmp -s good.case other.case || { echo 'an updated case is not what came out'; failures=$((failures + 1)); }

# --update keeps the form of a case that is like another, and rewrites its base first.
sed 's/killall/killall -9/' good.case > base.case
printf '%s\n' '# like it' 'like  base.case' 'command  rc upnp stop' expect > like.case
expect 1 check like.case
says out '- run    /usr/bin/killall -9 mini_httpd'
says out '+ run    /usr/bin/killall -9 upnpd'
expect 0 check --update like.case base.case
cmp -s good.case base.case || { echo 'a base is not rewritten'; failures=$((failures + 1)); }
cat > wanted << 'END'
# like it
like  base.case
command  rc upnp stop
expect
- print  ap_name=httpd action=stop
- run    echo /proc/uptime >/var/run/rc.httpd.run
- run    /usr/bin/killall mini_httpd
- remove /var/run/rc.httpd.run
+ print  ap_name=upnp action=stop
+ run    echo /proc/uptime >/var/run/rc.upnp.run
+ run    /usr/bin/killall -9 upnpd
+ remove /tmp/upnptab
+ pause  3 s
+ begin  route del -net 239.0.0.0 netmask 255.0.0.0\s
+ run    route del -net 239.0.0.0 netmask 255.0.0.0\s
+ remove /var/run/rc.upnp.run
END
diff wanted like.case || failures=$((failures + 1))
expect 0 check like.case base.case
expect 0 check --whole like.case
mv out whole.case
sed -n 2,4p whole.case | tr '\n' ';' | grep -qx 'command  rc upnp stop;expect;print  ap_name=upnp action=stop;' || {
    cat whole.case
    failures=$((failures + 1))
}
expect 0 check whole.case
expect 2 check --whole --update like.case
# One line too many or too few fails in this form too.
sed '/upnptab/d' like.case > fewer.case
expect 1 check fewer.case
says out '+ remove /tmp/upnptab'
sed 's/^+ remove .tmp.upnptab/&\n&/' like.case > more.case
expect 1 check more.case
says out '- remove /tmp/upnptab'
# Changes to a line that the base no longer has.
sed 's/mini_httpd/micro_httpd/' like.case > stale.case
expect 2 check stale.case
says err "rcplan: stale.case: line 7: 'run    /usr/bin/killall micro_httpd' is not in the base"
expect 0 check --update stale.case
diff wanted stale.case || failures=$((failures + 1))

# The timeline: the left column shows the total of the pauses so far where it changes.
expect 0 run --set fw_nat=1 firewall start
grep -qx '     0 s  print  ap_name=firewall action=start' out || { cat out; failures=$((failures + 1)); }
grep -qx '     1 s  run    /bin/sh /tmp/rules' out || { cat out; failures=$((failures + 1)); }
grep -qx '     3 s  run    /bin/sh /tmp/rule2' out || { cat out; failures=$((failures + 1)); }
grep -qx '          run    echo 1 > /proc/sys/net/ipv4/ip_forward' out || { cat out; failures=$((failures + 1)); }
grep -q "$(printf '\033')" out && { echo 'colour without a terminal'; failures=$((failures + 1)); }
expect 0 run --color always firewall stop
grep -q "$(printf '\033')" out || { echo 'no colour'; failures=$((failures + 1)); }
expect 0 run --color never firewall stop
grep -q "$(printf '\033')" out && { echo 'colour'; failures=$((failures + 1)); }
expect 2 run --color pink firewall stop

# The influences on lines; the assumptions.
expect 0 run --why --set http_timeout=5 --set device_name=R httpd start
says out '     <- device_name=R; http_realm is not set; http_timeout=5; there is no file /etc/version-ft'
# A binary file's rows of bytes are not lines, so reasons are shown only at the file.
echo 'file /var/udhcpd.leases' > leases.world
expect 0 run --why --world leases.world --set lan_ipaddr=192.168.1.1 --set lan_netmask=255.255.255.0 \
    --set dhcp_start_ip=192.168.1.10 --set dhcp_end_ip=192.168.1.100 \
    --set 'pcdb_list=pc;192.168.1.20;00:11:22:33:44:55' dhcpd create
grep -q '^ *x 00 11 22' out || { cat out; failures=$((failures + 1)); }
grep -A1 '^ *x [0-9a-f]' out | grep -q '<-' && { cat out; failures=$((failures + 1)); }
expect 0 run --set wan_ifname=ppp0 --set wan_mtu=1492 firewall create
says out '       there is no interface ppp0'

# A world: its contents are used; lines that do not belong there are refused.
cat > world << 'END'
# the Internet side is dialled
interface ppp0 203.0.113.9 1480
END
expect 0 run --world world --set wan_ifname=ppp0 --set wan_mtu=1492 firewall create
says out '       ppp0 has the MTU 1480'
says out 'print  wan_ifname:ppp0,mss:1480'
echo 'setting lan_if=br0' > wrong.world
expect 2 run --world wrong.world lan start
says err "rcplan: wrong.world: line 1: 'setting' does not belong into a world"
expect 2 run --world missing.world lan start
for sample in "$3"/*.world; do
    expect 0 run --world "$sample" --set wan_ifname=eth2.2 firewall create
done

# JSON: one object per line; the last one is the total.
expect 0 run --json --why --set dhcp_server_enable=1 --set lan_if=br0 dhcpd start
/usr/bin/python3 - << 'END' || { cat out; failures=$((failures + 1)); }
import json
objects = [json.loads(line) for line in open("out")]
assert objects[0] == {"type": "print", "depth": 0, "body": "ap_name=dhcpd action=start\n", "why": [],
                      "body_why": [[]], "elapsed_us": 0}, objects[0]
conf = next(o for o in objects if o.get("text") == "/etc/udhcpd.conf")
line = conf["body"].split("\n").index("interface\tbr0")
assert conf["body_why"][line] == [
    {"kind": "setting", "name": "dhcp_server_enable", "answer": "1", "decides": True},
    {"kind": "setting", "name": "lan_if", "answer": "br0", "decides": False}], conf
total = objects[-1]
assert total["type"] == "total" and total["status"] == 0 and total["commands"] == 2, total
assert total["files_written"] == 2 and total["settings_stored"] == 0 and total["pauses_us"] == 0, total
END
expect 0 run --json --set "device_name=$(printf 'caf\351')" httpd start
grep -q '"text_hex":"' out || { cat out; failures=$((failures + 1)); }

# The produced files, below a folder.
expect 0 run --files made --set lan_if=br0 --set dhcp_server_enable=1 dhcpd start
grep -qx "$(printf 'interface\tbr0')" made/etc/udhcpd.conf || { cat made/etc/udhcpd.conf; failures=$((failures + 1)); }
[ -e made/var/udhcpd.leases ] || failures=$((failures + 1))
[ ! -e made/tmp/nvram ] || { echo 'the settings are no product'; failures=$((failures + 1)); }

# A plan as a case, which then passes.
expect 0 run --case --settings settings httpd start
sed 's/^# $/# written by rcplan/' out > made.case
expect 0 check made.case
expect 2 run --case --json httpd start

# A plan as a page; options may come before or after the file.
expect 0 report page.html --settings settings --set device_name=R httpd start
says page.html '<title>Plan: rc httpd start</title>'
expect 0 report --settings settings --set device_name=R other.html httpd start
cmp -s page.html other.html || { echo 'the same plan gives two pages'; failures=$((failures + 1)); }
expect 2 report missing/page.html httpd start
says err 'rcplan: missing/page.html: No such file or directory'
expect 2 report page.html
expect 2 report --settings missing page.html httpd start

# Where a setting ends up.
expect 0 sinks --set device_name=R device_name
says out '    runs, in double quotes:'
expect 2 sinks --table other

[ "$failures" = 0 ] || exit 1
echo 'ok: rcplan'
