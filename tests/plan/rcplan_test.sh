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
expect 2 --bogus
says err "rcplan: '--bogus' is not an option of rcplan"
expect 0 --help
grep -q 'check' out || failures=$((failures + 1))
expect 0 run --help
grep -q -- '--why' out || failures=$((failures + 1))
expect 0 --version
says out "rcplan $2"

expect 2 nosuch lan start
says err "rcplan: 'nosuch' is not a command; the commands are run, diff, sinks, report, packet, exposure, inspect, check"
expect 2
says err 'rcplan: a command is missing; the commands are run, diff, sinks, report, packet, exposure, inspect, check'
# The words may begin with rc, as on the router.
expect 0 run rc httpd stop
mv out typed
expect 0 run httpd stop
cmp -s out typed || { diff out typed; failures=$((failures + 1)); }

# A file that is no settings file.
refused() {
    expect 2 run --settings odd httpd stop
    says err "rcplan: odd: $1"
    expect 2 diff settings odd
    says err "rcplan: odd: $1"
}
: > odd
refused 'is empty; expected one KEY=VALUE per line, as nvram export writes it'
printf '\n \t\n' > odd
refused 'is empty; expected one KEY=VALUE per line, as nvram export writes it'
printf 'lan_if=br0\nx=\000\n' > odd
refused 'is not a settings file: line 2 contains a zero byte; expected one KEY=VALUE per line, as nvram export writes it'
printf 'lan_if=br0\nhttp_timeout=5\r\n' > odd
refused "has CRLF line ends, the first in line 2; convert it: tr -d '\\r' < FILE > NEW"
printf '\357\273\277lan_if=br0\n' > odd
refused 'begins with a byte order mark; save it without one'
printf '#!/bin/sh\nexit\n' > odd
refused 'is not a settings file: no line is KEY=VALUE; expected one KEY=VALUE per line, as nvram export writes it'
printf 'lan_if=br0\nhttp timeout=5\n' > odd
refused 'line 2 has an invalid key; use 1 to 127 of A-Z a-z 0-9 _ - .'

# Keys that rc does not know.
printf 'lan_if=br0\nhttp_timeot=5\nmine=1\n' > unknown
expect 0 run --settings unknown --set fw_natt=1 httpd stop
says err 'rcplan: warning: unknown: http_timeot is not a setting of rc; the nearest is http_timeout'
says err 'rcplan: warning: unknown: mine is not a setting of rc'
says err 'rcplan: warning: --set fw_natt is not a setting of rc; the nearest is fw_nat'
expect 0 run --settings settings --set fw_nat=1 httpd stop
[ ! -s err ] || { cat err; failures=$((failures + 1)); }
i=0
while [ $i -lt 12 ]; do echo "own_$i=1"; i=$((i + 1)); done > unknown
expect 0 run --settings unknown httpd stop
says err "rcplan: warning: unknown: own_0 is not a setting of rc, nor are own_1, own_10, own_11, own_2, own_3, own_4, own_5, own_6, own_7, own_8, own_9"

# Bytes that a terminal would take for something else.
expect 2 run --set "$(printf 'caf\351\033[1m')" lan start
says err 'rcplan: --set caf\xe9\x1b[1m: not a setting; write KEY=VALUE'
expect 0 run --why --set wan_mtu=1492 --set "wan_ifname=$(printf 'p\302\233p0')" firewall create
LC_ALL=C grep -q "$(printf '[\200-\377]')" out && { cat out; failures=$((failures + 1)); }
says out '       there is no interface p\xc2\x9bp0'
expect 0 run --json --set "device_name=$(printf 'caf\303\251')" httpd start
LC_ALL=C grep -q "$(printf '[\200-\377]')" out && { cat out; failures=$((failures + 1)); }
grep -qF 'caf\u00e9' out || { cat out; failures=$((failures + 1)); }

# Secrets: in lines, files, reasons and JSON.
expect 0 run --why --set http_username=admin --set http_password=tRuStNo1 httpd start
says out '     | admin:********'
says out '     <- http_password=********; http_username=admin'
grep -q tRuStNo1 out err && { cat out err; failures=$((failures + 1)); }
expect 0 run --set http_username=admin --set http_password=tRuStNo1 httpd start
says out '     | admin:********'
expect 0 run --json --why --set http_username=admin --set http_password=tRuStNo1 httpd start
grep -q tRuStNo1 out err && { cat out err; failures=$((failures + 1)); }
expect 0 run --why --show-secrets --set http_username=admin --set http_password=tRuStNo1 httpd start
says out '     | admin:tRuStNo1'
says out '     <- http_password=tRuStNo1; http_username=admin'
expect 2 run --case --set http_password=tRuStNo1 httpd start
says err 'rcplan: a case file shows the secret http_password; add --show-secrets, or replace the value with --set http_password=VALUE'
[ ! -s out ] || { cat out; failures=$((failures + 1)); }
expect 0 run --case --show-secrets --set http_password=tRuStNo1 httpd start
says out 'setting  http_password=tRuStNo1'

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

# The produced files, below a folder. They hold secrets, so they are their owner's alone.
umask 022
expect 0 run --files secret/made --set http_username=admin --set http_password=tRuStNo1 httpd start
grep -qx 'admin:tRuStNo1' secret/made/tmp/htpasswd || { cat secret/made/tmp/htpasswd; failures=$((failures + 1)); }
grep -q tRuStNo1 out err && { cat out err; failures=$((failures + 1)); }
modes=$(stat -c '%a %n' secret secret/made secret/made/tmp secret/made/tmp/htpasswd | tr '\n' ' ')
[ "$modes" = '700 secret 700 secret/made 700 secret/made/tmp 600 secret/made/tmp/htpasswd ' ] || {
    echo "modes: $modes"
    failures=$((failures + 1))
}
# A file that is already there gets the mode too; a folder that is there keeps its own.
chmod 644 secret/made/tmp/htpasswd
chmod 755 secret/made
expect 0 run --files secret/made --set http_password=tRuStNo1 httpd start
modes=$(stat -c '%a' secret/made secret/made/tmp/htpasswd | tr '\n' ' ')
[ "$modes" = '755 600 ' ] || { echo "modes: $modes"; failures=$((failures + 1)); }
expect 2 run --files settings/made --set http_password=x httpd start
says err 'rcplan: settings/made: Not a directory'
expect 2 run --files lan start
says err "rcplan: 'lan' is a word of rc, not an output file; write rcplan run --files DIR WORDS, or ./lan for a file of that name"
[ ! -e lan ] || { echo 'a folder named lan'; failures=$((failures + 1)); }
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
export SOURCE_DATE_EPOCH=1763769600
expect 0 report page.html --settings settings --set device_name=R httpd start
says page.html '<title>Plan: rc httpd start</title>'
expect 0 report --settings settings --set device_name=R other.html httpd start
cmp -s page.html other.html || { echo 'the same plan gives two pages'; failures=$((failures + 1)); }
expect 2 report missing/page.html httpd start
says err 'rcplan: missing/page.html: No such file or directory'
grep -qF '<dt>settings</dt><dd><code>settings</code></dd>' page.html || failures=$((failures + 1))
grep -qF '<dt>made on</dt><dd>2025-11-22 00:00 UTC</dd>' page.html || failures=$((failures + 1))
grep -qF "<dt>version</dt><dd>rcplan $2</dd>" page.html || failures=$((failures + 1))
grep -qF '<dt>changed settings</dt><dd><code>device_name=R</code></dd>' page.html || failures=$((failures + 1))
# A word of rc is no file's name.
for word in lan start service init rc; do
    expect 2 report $word restart
    [ ! -e $word ] || { echo "a page named $word"; failures=$((failures + 1)); }
done
says err "rcplan: 'rc' is a word of rc, not an output file; write rcplan report FILE WORDS, or ./rc for a file of that name"
expect 0 report ./lan httpd start
rm lan
expect 2 report page.html
expect 2 report --settings missing page.html httpd start

# Where a setting ends up.
expect 0 sinks --set device_name=R device_name
says out '    runs, in double quotes:'
expect 2 sinks --table other

[ "$failures" = 0 ] || exit 1
echo 'ok: rcplan'
