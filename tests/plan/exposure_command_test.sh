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
settings=settings
expect() {
    wanted=$1
    shift
    "$rcplan" exposure --settings $settings "$@" > out 2> err
    status=$?
    [ "$status" = "$wanted" ] || fail "rcplan exposure $*: status $status, expected $wanted"
}

# said FILE TEXT: the file has that line.
said() {
    grep -qxF -- "$2" "$1" || fail "no line '$2' in $1"
}

# accepted_calls: the packet of each row is accepted, at the time that it names.
accepted_calls() {
    grep '^    rcplan packet ' out > calls
    while read -r _ words; do
        eval "\"$rcplan\" $words --no-why" > packet 2> err || fail "not accepted: $words"
    done < calls
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
accepted_calls
[ "$(wc -l < calls)" -ge 2 ] || fail "too few packets"

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

# The LAN is blocked on Mondays from 8 to 17; 2024-01-01 was one.
cp "$source/lab/root/etc/default" settings
printf 'ac_control=1\nac_sch=1\nfw_schedule=1:8:0-17:0\\x01\ntime_zone=UTC0\ntime_daylight=0\n' >> settings
for now in 07:59 08:00; do
    expect 0 --from lan --clock "2024-01-01 $now:00"
    grep -q ' to anywhere, only while the schedule is closed$' out || fail "$now: the LAN is not blocked by times"
    grep -q 'anyone to router, always' out || fail "$now: the router's own services do not follow the schedule"
    ! grep -q 'while the schedule is open' out || fail "$now: nothing is let through by the blocks"
    grep -q ' gets past ac_control while the schedule is closed$' out || fail "$now: no escape by the schedule"
    said out '    <- fw_schedule'
    accepted_calls
done
grep -q -- "--clock '2024-01-01 17:00:00' --in br0 " calls || fail "no packet at the time when the schedule closes"
printf 'lan reaches tcp 443 at 198.51.100.80\n' > statements
expect 1 --expect statements --clock '2024-01-01 07:00:00'
said out 'statements:1: does not hold while the schedule is open: lan reaches tcp 443 at 198.51.100.80'
grep -q -- "--clock '2024-01-01 08:00:00'" out || fail "no packet at the time when the schedule opens"
expect 1 --expect statements --clock '2024-01-01 08:00:00'
said out 'statements:1: does not hold: lan reaches tcp 443 at 198.51.100.80'
expect 2 --clock monday
said err "rcplan: --clock monday: not a time; expected YYYY-MM-DD HH:MM:SS, in UTC"
# A schedule that is open all week has no other state.
cp settings week
{
    printf 'fw_schedule='
    for day in 0 1 2 3 4 5 6; do printf '%s:0:0-24:0\\x01' $day; done
    echo
} >> week
settings=week
expect 0 --from lan
settings=settings
! grep -q 'while the schedule' out || fail "the schedule is always open"
# Keywords by schedule.
printf 'ac_control=0\nfw_block=2\nfw_block_keyword=casino\\x01poker\\x01\n' >> settings
expect 0 --from lan
grep -q ' gets past fw_block_keyword while the schedule is closed$' out || fail "keywords follow the schedule"
said out 'tcp 80 from anyone to anywhere, only belongs to no connection; if the payload contains "casino" or "poker"; while the schedule is closed'
accepted_calls
# Rules that are not understood, in the other state.
# shellcheck disable=SC2016  # The shell on the router is meant.
expect 2 --from lan --set 'fw_block_keyword=$(date)'
grep -q '^rcplan: while the schedule is open: ' err || fail "rules of the other state are not understood"
# Only web requests are searched.
expect 0 --from lan --set fw_block=1
said out "anyone gets past fw_block_keyword: only tcp 80 is searched"
accepted_calls
grep -q -- "--dport 443 .*--string " calls || fail "no packet with the keyword to another port"

[ "$failures" = 0 ]
