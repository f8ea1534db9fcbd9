#!/bin/sh
# The command rcplan exposure: its rows, whose packets rcplan packet accepts, its statements, and its statuses.
#   exposure_command_test.sh RCPLAN SOURCE_DIR
rcplan=$1
source=$2
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
failures=0

fail() {
    echo "$1"
    cat out err
    failures=$((failures + 1))
}

# expect STATUS WORDS...: runs rcplan exposure on the settings, output in "out", messages in "err".
expect() {
    wanted=$1
    shift
    "$rcplan" exposure --settings settings "$@" > out 2> err
    status=$?
    [ "$status" = "$wanted" ] || fail "rcplan exposure $*: status $status, expected $wanted"
}

# said FILE TEXT: the file has that line.
said() {
    grep -qxF -- "$2" "$1" || fail "no line '$2' in $1"
}

cp "$source/lab/root/etc/default" settings
expect 0
said out "assumed eth2.2 has the address 203.0.113.7 (--wan-address, --world)"
if grep ' from anyone to ' out | grep -vq 'related to a connection from inside'; then
    fail "factory settings let something in"
fi

cat >> settings << 'END'
fw_in_rules=web:1:x:8000:80:tcp:9\x01again:1:x:8000:81:tcp:10
fw_remote=1
fw_remote_type=3
END
expect 0 --wan-address 198.51.100.1
said out "tcp 8000 from anyone to 192.168.1.9 port 80, always"
said out "tcp 8080 from anyone to router port 80, only at most 100 a second"
said out "    <- fw_in_rules entry 1"
said out "Never used, of the settings"
# The packet of each row is accepted.
grep '^    rcplan packet ' out > calls
[ "$(wc -l < calls)" -ge 2 ] || fail "too few packets"
while read -r _ words; do
    # shellcheck disable=SC2086  # Words.
    "$rcplan" $words --no-why > packet 2> err || fail "not accepted: $words"
done < calls

expect 0 --json
cat > rows.py << 'END'
import json
rows = [json.loads(line) for line in open("out")]
web = next(row for row in rows if row["ports"] == "8000")
assert web["kind"] == "open" and web["proto"] == "tcp" and web["from"] == "eth2.2", web
assert web["src"] == "anyone" and web["to"] == "192.168.1.9" and web["to_ports"] == "80" and web["when"] == [], web
assert web["settings"][0] == {"key": "fw_in_rules", "entry": 1}, web
assert web["rule"]["file"] == "/tmp/rules" and web["rule"]["line"] > 0 and "-j ACCEPT" in web["rule"]["text"], web
assert "--dport 8000" in web["packet"], web
dead = next(row for row in rows if row["kind"] == "unused")
assert dead["settings"][0] == {"key": "fw_in_rules", "entry": 2} and not dead["own"], dead
assert "fw_in_rules entry 1" in dead["why"], dead
END
python3 rows.py 2> err || fail "the JSON is wrong"

printf '# The build server.\nnever tcp 22 from wan\nlan reaches dns\n' > statements
expect 0 --expect statements
[ ! -s out ] || fail "statements that hold print nothing"
printf 'never tcp 22 from wan\nnever tcp from wan\nonly tcp 8000 to 192.168.1.9\n' > statements
expect 1 --expect statements
said out "statements:2: does not hold: never tcp from wan"
[ "$(grep -c 'does not hold' out)" = 1 ] || fail "one statement does not hold"
printf 'never tcp 22\n' > statements
expect 2 --expect statements
said err "rcplan: statements:1: 'from IF' is missing"
printf 'never tcp 22 from eth2.3\n' > statements
expect 2 --expect statements
said err "rcplan: statements:1: eth2.3: this router has no such interface; give wan (eth2.2), lan (br0) or one of the world file"
expect 2 --expect nosuch
expect 2 --from mars
said err "rcplan: --from mars: this router has no such interface; give wan (eth2.2), lan (br0) or one of the world file"
expect 0 --from lan
grep -q '^any protocol' out || fail "the LAN is let out"

# What a change opens and closes.
cp settings b
sed -i 's/web:1:x:8000/web:1:x:8001/' b
"$rcplan" diff settings b > out 2> err
[ $? = 1 ] || fail "diff: not status 1"
said out "B opens for connections from eth2.2"
said out "tcp 8001 from anyone to 192.168.1.9 port 80, always"
said out "B closes for connections from eth2.2"
"$rcplan" diff --json settings b > out 2> err
grep -q '"type":"exposure","change":"opens","kind":"open","proto":"tcp","ports":"8001"' out ||
    fail "diff --json: no opening"

[ "$failures" = 0 ]
