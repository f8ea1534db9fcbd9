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
