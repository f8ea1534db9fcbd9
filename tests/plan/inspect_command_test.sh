#!/bin/sh
# The command rcplan inspect: what it prints, its JSON, its messages and its statuses.
#   inspect_command_test.sh RCPLAN MAKE_BUNDLE SOURCE_DIR
rcplan=$1
make_bundle=$2
source=$3
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
failures=0

fail() {
    echo "$1"
    cat out err
    failures=$((failures + 1))
}

# deviations: leaves in "out" the deviations of "whole", without what is open.
deviations() {
    sed '/^{"kind":"open"/d; /^Open from the Internet/,$d' whole | sed '$ { /^$/d; }' > out
}

# expect STATUS WORDS...: runs rcplan inspect, output in "whole", its deviations in "out", messages in "err".
expect() {
    wanted=$1
    shift
    "$rcplan" inspect "$@" > whole 2> err < /dev/null
    status=$?
    deviations
    [ "$status" = "$wanted" ] || fail "rcplan inspect $*: status $status, expected $wanted"
}

# said FILE TEXT: the file is this text.
said() {
    [ "$(cat "$1")" = "$2" ] || fail "$1 is not: $2"
}

# changed MEMBER FROM TO: leaves in "bundle" the archive "good" with a text of a member replaced; FROM "" adds the text.
changed() {
    cat > change.py << 'EOF'
import io, sys, tarfile
member, old, new = (word.encode().decode("unicode_escape").encode("latin-1") for word in sys.argv[1:])
with tarfile.open("good") as good, tarfile.open("bundle", "w") as bundle:
    for info in good:
        content = good.extractfile(info).read()
        if info.name == "rc-bundle/" + member.decode():
            assert old in content, content
            content = content.replace(old, new, 1) if old else content + new
            info.size = len(content)
        bundle.addfile(info, io.BytesIO(content))
EOF
    python3 change.py "$@" 2> err || fail "no archive with $*"
}

"$make_bundle" "$source/lab/root/etc/default" good > out 2> err || fail "no archive"
expect 0 good
said out "Nothing deviates."
said err ""
expect 0 --json good
said out ""
"$rcplan" inspect - < good > whole 2> err || fail "not from standard input"
deviations
said out "Nothing deviates."
grep -q '^    any protocol, every port, from anyone to router, only related to a connection from inside$' whole ||
    fail "what is open is missing"

changed files/etc/udhcpd.conf 'start\t\t192.168.1.33' 'start\t\t192.168.1.34'
tab=$(printf '\t')
expect 1 bundle
said out "file /etc/udhcpd.conf
    expected: start$tab${tab}192.168.1.33
    found:    start$tab${tab}192.168.1.34
    settings: dhcp_server_enable dhcp_start_ip
    to do:    rc dhcpd restart

1 deviation."
expect 1 --json bundle
said out '{"kind":"file","what":"/etc/udhcpd.conf","expected":"start\t\t192.168.1.33","found":"start\t\t192.168.1.34","settings":["dhcp_server_enable","dhcp_start_ip"],"fix":"rc dhcpd restart","note":false}'

# Texts that would control a terminal.
changed files/etc/udhcpd.conf '' '\x1b[31mred\x07\xff\n\x1b]0;title\x07\n'
expect 1 bundle
grep -qF '        \x1b[31mred\x07\xff' out || fail "not escaped"
[ "$(tr -d '\n' < out | LC_ALL=C tr -d ' -~' | wc -c)" = 0 ] || fail "bytes for the terminal"
expect 1 --json bundle
[ "$(tr -d '\n' < out | LC_ALL=C tr -d ' -~' | wc -c)" = 0 ] || fail "bytes for the terminal in JSON"
cat > rows.py << 'EOF'
import json
rows = [json.loads(line) for line in open("out")]
assert len(rows) == 1, rows
assert list(rows[0]) == ["kind", "what", "expected", "found", "found_hex", "settings", "fix", "note"], rows
assert rows[0]["found"].startswith("\x1b[31mred\x07"), rows
assert bytes.fromhex(rows[0]["found_hex"]) == b"\x1b[31mred\x07\xff\n\x1b]0;title\x07", rows
EOF
python3 rows.py 2> err || fail "the JSON is wrong"

# A note is no deviation.
changed commands/iptables-save '' '*nat\n'
expect 0 bundle
changed about 'date 1800000000' 'date 5'
expect 1 bundle
grep -qx 'trap the clock' out || fail "the clock"

printf 'lan_if=br0\n' > text
expect 2 text
said err "rcplan: text: damaged, or no tar archive"
said out ""
expect 2 nosuch
grep -q '^rcplan: nosuch: ' err || fail "no message for a missing file"
tar cf other text
expect 2 other
said err "rcplan: other: text: no name of a bundle's member"
expect 2
expect 2 good good
expect 2 --nosuch good

[ "$failures" = 0 ]
