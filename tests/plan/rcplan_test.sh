#!/bin/sh
# The command rcplan itself: statuses, messages, and what --update writes.
#   rcplan_test.sh RCPLAN
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

# says FILE TEXT: the whole line stands in the file.
says() {
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
expect 2 run --settings
expect 2 run --settings missing lan start
says err 'rcplan: missing: No such file or directory'
expect 2 run --settings . lan start
expect 2 run --set novalue lan start
says err 'rcplan: --set novalue: a setting is written KEY=VALUE'
expect 2 run --set 'bad key=1' lan start
expect 2 run --bogus x lan start
expect 2 bogus
expect 2
expect 0 --help
grep -q 'rcplan check' out || failures=$((failures + 1))
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
says err "rcplan: broken.case: line 3: 'print' is no line of a case"
expect 2 check missing.case
expect 2 check

expect 0 check --update other.case
says out 'updated  other.case'
cmp -s good.case other.case || { echo 'an updated case is not what came out'; failures=$((failures + 1)); }

[ "$failures" = 0 ] || exit 1
echo 'ok: rcplan'
