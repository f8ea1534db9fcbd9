#!/bin/sh
# nvram check, describe and keys as commands: statuses, both forms of findings, secrets, places, and the build without.
#   check_command_test.sh NVRAM NVRAM_WITHOUT_TABLE FACTORY_SETTINGS
nvram=$1 without=$2 factory=$3
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/tmp" "$folder/etc"
cp "$factory" "$folder/etc/default"
failed=0

fail() {
    printf '%s\n' "$1"
    failed=1
}

# expect NAME STATUS OUTPUT ERRORS WORDS...: the command's complete output.
expect() {
    name=$1 status=$2 output=$3 errors=$4
    shift 4
    found=$("$@" 2>"$folder/errors")
    found_status=$?
    [ "$found_status" = "$status" ] || fail "$name: status $found_status, expected $status"
    [ "$found" = "$output" ] || fail "$name: expected
$output
found
$found"
    found=$(cat "$folder/errors")
    [ "$found" = "$errors" ] || fail "$name: expected on standard error
$errors
found
$found"
}

# shellcheck disable=SC2317 # expect calls them
router() { "$nvram" --root "$folder" "$@"; }
# shellcheck disable=SC2317
described() { "$nvram" describe "$1" | sed -n "$2"; }
# shellcheck disable=SC2317
on_a_full_disk() { "$nvram" "$@" > /dev/full; }

notes='http_password=********
    note: is the well-known factory password
    rc: lets anyone log in who tries it
    fix: http_password=...
wifi_wep_on=0
    note: leaves the first network open
    rc: lets anyone in range join and listen
    fix: wifi_wep_on=3 with wifi_psk2_pwd
2 findings'

# The factory settings give only notes, in every place; without a word the working copy is checked.
expect 'no working copy' 2 '' "nvram: check: $folder/tmp/nvram: no working copy; run 'nvram load' first" \
    router check
expect 'factory, by its name' 0 "$notes" '' router check @factory
expect 'factory, by its path' 0 "$notes" '' "$nvram" check "$factory"
router default || fail 'default failed'
expect 'working copy' 0 "$notes" '' router check
expect 'flash' 0 "$notes" '' router check @flash

expect 'no such file' 2 '' 'nvram: check: /no/such: No such file or directory' "$nvram" check /no/such
expect 'too many words' 2 '' "nvram: check: too many arguments (try 'nvram --help')" "$nvram" check a b
expect 'a strange option' 2 '' "nvram: set: does not take --json (try 'nvram --help')" "$nvram" set --json a=1

router set http_password=my-own-secret wifi_wep_on=3 'wifi_psk2_pwd=a good phrase'
expect 'clean' 0 '0 findings' '' router check
expect 'clean, as JSON' 0 '' '' router check --json

# One warning is enough for status 1.
router set fw_nat=0
expect 'a warning' 1 'fw_nat=0
    warning: is off
    rc: leaves FORWARD open: any host that reaches the WAN side reaches the LAN; addresses are not translated
    fix: fw_nat=1
1 finding' '' router check
expect 'a warning, as JSON' 1 '{"key":"fw_nat","level":"warning","value":"0","problem":"is off",'\
'"effect":"leaves FORWARD open: any host that reaches the WAN side reaches the LAN; addresses are not translated",'\
'"fix":"fw_nat=1"}' '' router check --json
router set fw_nat=1

# Lines that are not KEY=VALUE come first; findings of one setting share a heading; escapes and secrets.
{
    router export - | grep -v -e '^wifi_psk2_pwd=' -e '^log_dos=' -e '^wan_mode=' -e '^fw_nat='
    printf 'nonsense\nwifi_psk2_pwd=secret\nmy_own=a\\x01"b"\\\\c\377\303\244\nlog_dos=\nwan_mode=x\nfw_nat=\n'
} > "$folder/bad"
expect 'many' 1 "line $(($(wc -l < "$folder/bad") - 5))
    error: is not KEY=VALUE
    rc: ignores the line
    fix: key=value, or # before a comment
fw_nat=
    error: is empty; expected 1 (on) or 0 (off)
    rc: addresses are translated, but FORWARD is left open and there is no DMZ
    fix: fw_nat=1
my_own=a\\x01\"b\"\\\\c\\xff$(printf '\303\244')
    note: is not a setting of rc
    rc: ignores it
wan_mode=x
    error: is not an allowed value; expected one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras
    rc: starts no connection at all
    fix: one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras
wifi_psk2_pwd=********
    error: is shorter than 8 characters, but wifi_wep_on=3 needs it
    rc: passes it to the driver, which rejects it: the first network does not come up as it should
    fix: 8 to 63 characters, or 64 hexadecimal digits
5 findings" '' router check "$folder/bad"

# Nothing in the findings controls the terminal: C1 controls and marks of direction are escaped, in both forms.
printf 'my_own=\302\2332J\342\200\256\360\237\223\266\363\240\200\201\n' > "$folder/controls"
"$nvram" check "$folder/controls" | LC_ALL=C grep -aqxF "my_own=\\xc2\\x9b2J\\xe2\\x80\\xae$(printf '\360\237\223\266')\\xf3\\xa0\\x80\\x81" ||
    fail 'controls: not escaped in the text'
"$nvram" check --json "$folder/controls" | LC_ALL=C grep -aqF "\"my_own\",\"level\":\"note\",\"value\":\"\\u009b2J\\u202e$(printf '\360\237\223\266')\\udb40\\udc01\"" ||
    fail 'controls: not escaped in JSON'

# Standard input, as export and import have it.
# shellcheck disable=SC2317
from_standard_input() { router "$@" < "$folder/bad"; }
router check "$folder/bad" > "$folder/of_file"
from_standard_input check - > "$folder/of_input"
[ $? = 1 ] || fail 'standard input: the status is not 1'
cmp -s "$folder/of_file" "$folder/of_input" || fail 'standard input: other findings than of the file'

# --check stores nothing that has errors; warnings and notes do not count.
before=$(router export -)
wrong_mode='wan_mode=x
    error: is not an allowed value; expected one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras
    rc: starts no connection at all
    fix: one of dhcpc, ip, pppoe, pptp, l2tp, bpa, ras
1 finding'
refused='the settings have errors; nothing was changed'
printf 'wan_mode=x\nfw_nat=0\n' > "$folder/wrong"
expect 'import --check' 1 "$wrong_mode" "nvram: import: $refused" router import --check "$folder/wrong"
expect 'import --check, standard input' 1 "$wrong_mode" "nvram: import: $refused" \
    sh -c "'$nvram' --root '$folder' import --check - < '$folder/wrong'"
[ "$(router export -)" = "$before" ] || fail 'import --check: the settings were changed'
(router export - && cat "$folder/wrong") > "$folder/all_wrong"
expect 'import --check --replace' 1 "$wrong_mode" "nvram: import: $refused" \
    router import --check --replace "$folder/all_wrong"
[ "$(router export -)" = "$before" ] || fail 'import --check --replace: the settings were changed'
printf 'fw_nat=0\n' > "$folder/warning"
expect 'import --check with a warning' 0 '' '' router import --check "$folder/warning"
expect 'commit --check' 0 '' '' router commit --check
# Two settings that are right each by itself, and wrong together.
printf 'dhcp_start_ip=192.168.1.90\ndhcp_end_ip=192.168.1.20\n' > "$folder/range"
router import --check "$folder/range" > "$folder/out" 2> "$folder/err" && fail 'import --check: a wrong range was taken'
router set wan_mode=x
expect 'commit --check of errors' 1 "$wrong_mode" "nvram: commit: $refused" router commit --check
expect 'flash after it' 1 '- wan_mode=dhcpc
+ wan_mode=x' '' router diff @flash @working
expect 'commit' 0 '' '' router commit
printf '%s\n' "$before" | router import --replace -

# Each line is a JSON object with the same content.
router check --json "$folder/bad" > "$folder/json"
[ $? = 1 ] || fail 'JSON: the status is not 1'
while IFS= read -r line; do
    printf '%s' "$line" | python3 -m json.tool > /dev/null || fail "this is no JSON: $line"
done < "$folder/json"
grep -q secret "$folder/json" && fail 'JSON: a secret is shown'
python3 - "$folder/json" <<'PYTHON' || fail 'JSON: not what was expected'
import json, sys
found = [json.loads(line) for line in open(sys.argv[1], encoding='utf-8')]
assert [f['key'].split()[0] for f in found] == ['line', 'fw_nat', 'my_own', 'wan_mode', 'wifi_psk2_pwd'], found
assert [f['level'] for f in found] == ['error', 'error', 'note', 'error', 'error'], found
assert all(list(f) == ['key', 'level', 'value', 'problem', 'effect', 'fix'] for f in found), found
# Values are escaped as in an image; so is a byte that is not valid UTF-8.
assert found[2]['value'] == 'a\\x01"b"\\\\c\\xff\u00e4', found[2]
assert found[4]['value'] == '********', found[4]
PYTHON

# JSON has no raw control characters: the tabs of a line that is shown are escaped.
printf 'dhcp_start_ip=x\n' | cat "$factory" - > "$folder/tabs"
"$nvram" check "$folder/tabs" | grep -q "udhcpd.conf: start$(printf '\t\t')x" || fail 'tabs: not in the text'
"$nvram" check --json "$folder/tabs" | grep -qF 'udhcpd.conf: start\u0009\u0009x"' || fail 'tabs: not escaped in JSON'

# Valid UTF-8 (RFC 3629) is unchanged, and all other bytes beyond ASCII are escaped: truncated and overlong encodings,
# surrogates, code points beyond the last.
python3 - "$nvram" "$folder/bytes" <<'PYTHON' || fail 'JSON: bytes beyond ASCII'
import json, subprocess, sys
nvram, path = sys.argv[1:]
whole = ['\u007e', '\u0080', '\u07ff', '\u0800', '\ud7ff', '\ue000', '\uffff', '\U00010000', '\U0010ffff']
bad = [b'\x80', b'\xbf', b'\xc1\xbf', b'\xc3', b'\xc3a', b'\xe0\x9f\xbf', b'\xe2\x82', b'\xe2\x82a', b'\xed\xa0\x80',
       b'\xed\xbf\xbf', b'\xf0\x8f\xbf\xbf', b'\xf0\x9f\x98', b'\xf4\x90\x80\x80', b'\xf5\x80\x80\x80', b'\xff']
escaped = [''.join(chr(byte) if byte < 0x80 else f'\\x{byte:02x}' for byte in text) for text in bad]
texts = [text.encode() for text in whole] + bad
found = {}
for at, text in enumerate(texts):
    with open(path, 'wb') as file:
        file.write(b'my_%d=%s\n' % (at, text))
    lines = subprocess.run([nvram, 'check', '--json', path], stdout=subprocess.PIPE, check=False).stdout.split(b'\n')
    found.update({f['key']: f['value'] for f in (json.loads(line.decode()) for line in lines if line)})
for at, wanted in enumerate(whole + escaped):
    assert found[f'my_{at}'] == wanted, (texts[at], found[f'my_{at}'])
PYTHON

# The description of a setting.
expect 'describe' 0 'fw_remote_port: remote management: TCP port on the WAN
  form     a number from 1 to 65535
  empty    not allowed; the rule of remote management fails
  not set  same as empty
  factory  8080' '' described fw_remote_port 1,5p
expect 'describe a list' 0 'pcdb_list: address reservations: the address that a host, identified by its MAC address, always gets
  form     entries host;address;mac, separated by \x01
             host: empty or a text of at most 15 characters; host name, for the lease list only
             address: an IPv4 address such as 192.168.1.1; its last number must be within the pool; '\
'the first number is taken from lan_ipaddr
             mac: a MAC address such as 00:11:22:33:44:55
           at most 254 entries
  empty    allowed; no address is reserved
  not set  same as empty
  factory  (empty)' '' described pcdb_list 1,9p
expect 'describe a list with an ignored prefix' 0 '  form     entries service, separated by \x01
             service: a text of at most 29 characters; name of a service in fw_services_def or fw_services; '\
'an unknown one ends the list
           ignored prefix: 4 characters before the first entry
           at most 100 entries' '' described access_control 2,5p
expect 'describe a list without a limit' 0 '  form     entries mac, separated by \x01
             mac: a MAC address such as 00:11:22:33:44:55
  empty    allowed; no host is exempt' '' described access_group 2,4p
expect 'describe a list whose entries are switched' 0 '           at most 15 entries whose field on is 1' '' \
    described fw_in_rules '/at most 15/p'
expect 'describe a list of one entry' 0 '  form     entries name:destination:netmask:gateway:metric:listed:active, separated by spaces
           at most 1 entry' '' described rt_static_route '/form/p; /at most 1 /p'
expect 'describe a flag' 0 '  form     1 (on) or 0 (off)
           only the first character counts' '' described log_dos 2,3p
expect 'describe a secret' 0 '  secret   shown as ********' '' described ddns_password /secret/p
expect 'describe what is not an empty text when it is not set' 0 \
    '  not set  the port is eth2.2; the firewall uses ether_wan_ifname' '' described wan_phy_ifname '/not set/p'
expect 'describe what an action uses' 0 '  used by  rc route' '' described rt_static_route '/used by/p'
expect 'describe what no action uses' 0 '' '' described ssid_apcli_wds '/used by/p'
expect 'describe as an object' 0 '{"key":"lan_lease_time","help":"lease time, in days","form":"a number from 1 to 49710",'\
'"may_be_empty":false,"when_empty":"leases last 0 s","when_absent":"","factory":"1","secret":false,"used_by":["dhcpd"]}' '' \
    "$nvram" describe --json lan_lease_time
expect 'describe a list as an object' 0 '{"key":"pcdb_list","help":"address reservations: the address that a host, identified'\
' by its MAC address, always gets","shape":"host;address;mac","between":"\u0001","fields":[{"name":"host",'\
'"form":"a text of at most 15 characters","may_be_empty":true,"help":"host name, for the lease list only"},'\
'{"name":"address","form":"an IPv4 address such as 192.168.1.1","may_be_empty":false,"help":"its last number must be'\
' within the pool; the first number is taken from lan_ipaddr"},{"name":"mac","form":"a MAC address such as'\
' 00:11:22:33:44:55","may_be_empty":false,"help":""}],"may_be_empty":true,"when_empty":"no address is reserved",'\
'"when_absent":"","factory":"","secret":false,"used_by":["dhcpd"]}' '' "$nvram" describe --json pcdb_list
expect 'keys as objects' 0 '{"key":"lan_lease_time","help":"lease time, in days"}' '' "$nvram" keys --json lan_l
expect 'describe nothing' 1 '' 'nvram: describe: nothing: unknown setting; '\''nvram keys'\'' lists all' "$nvram" describe nothing
expect 'describe a slip' 1 '' 'nvram: describe: wan_mut: unknown setting (did you mean wan_mtu?)' \
    "$nvram" describe wan_mut
expect 'keys' 0 'fw_schedule   periods in which scheduled rules apply; of one past midnight, only the part after midnight
fw_schedule2  second list like fw_schedule; of a period past midnight, only the part before midnight' '' \
    "$nvram" keys fw_sch
expect 'no such keys' 1 '' '' "$nvram" keys nothing
[ "$("$nvram" keys | wc -l)" -gt 200 ] || fail 'keys: hardly any'

# A full disk is reported.
expect 'full output' 2 '' 'nvram: standard output: No space left on device' \
    on_a_full_disk check "$factory"

# Built without the table.
for verb in check describe keys apply try confirm undo trial; do
    expect "without the table: $verb" 2 '' "nvram: $verb: not included in this build (try 'nvram --help')" "$without" $verb
    "$without" --help | grep -q "^  $verb" && fail "--help names $verb in a build without it"
    "$nvram" --help | grep -q "^  $verb" || fail "--help does not name $verb"
done
for words in 'commit --check' 'import --check -'; do
    # shellcheck disable=SC2086 # two or three words
    expect "without the table: $words" 2 '' "nvram: --check: not included in this build (try 'nvram --help')" \
        "$without" $words
    "$without" --help | grep -q -e --check && fail '--help names --check in a build without it'
done
expect 'without the table' 0 '8080' '' "$without" --root "$folder" get fw_remote_port
exit $failed
