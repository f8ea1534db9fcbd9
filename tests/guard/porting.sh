#!/bin/sh
# Fails if the page about new boards and rc's code and cases do not name the same paths, programs, and parts of the
# kernel's packet filter and scheduler. In the page, a path is in backquotes at the start of a table's row; the others are
# in backquotes in the paragraph that begins with their kind ("Matches:").
#   porting.sh SOURCE_DIR
cd "$1" || exit 2
page=docs/porting.md
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
status=0

# The code without comments and with adjacent literals joined.
sed 's|//.*||; /#include/d' src/core/*.cc src/rc/*.cc src/lan/*.cc src/wan/*.cc src/sched/*.cc src/firewall/*.cc src/wireless/*.cc |
    awk '/"$/ { printf "%s", $0; next } { print }' | sed 's/" *"//g' > "$folder/sources"
# The command lines in the cases: those that rc runs, and those in the scripts that it writes. In a case that is like
# another, a line that differs begins with a sign.
sed 's/^[-+] //' tests/cases/*/*.case | awk '$1 != "|" { script = 0 }
    $1 == "write" || $1 == "append" { script = $2 ~ /\/(rules|rule2|pnat|sroute|wifi_acc|sta.sh|qos.conf)$/ }
    $1 == "run" || $1 == "pipe" || ($1 == "|" && script) { sub(/^ *[a-z|]+ +/, ""); print }' \
    > "$folder/lines"
[ "$(wc -l < "$folder/lines")" -gt 3000 ] || { echo 'hardly any command lines found in the cases'; exit 2; }

# compare KIND: the words of the file "named" against those of the file "page".
compare() {
    sort -u "$folder/named" -o "$folder/named"
    sort -u "$folder/page" -o "$folder/page"
    [ -s "$folder/named" ] || { echo "no $1 found in the sources"; exit 2; }
    missing=$(comm -23 "$folder/named" "$folder/page")
    surplus=$(comm -13 "$folder/named" "$folder/page")
    [ -z "$missing" ] || { echo "$1 missing in $page:"; echo "$missing"; status=1; }
    [ -z "$surplus" ] || { echo "$1 in $page that nothing names:"; echo "$surplus"; status=1; }
    echo "$(wc -l < "$folder/named") $1"
}
# shellcheck disable=SC2016 # the backquotes are the page's
listed() {
    awk -v kind="$1:" 'index($0, kind) == 1 { on = 1 } /^$/ { on = 0 } on' "$page" |
        grep -o '`[^`]*`' | tr -d '`' > "$folder/page"
}

# The search path's folders are not files. rc's code does not name the path of the settings in flash.
grep -oE '/(bin|sbin|usr|etc|var|tmp|proc|dev|lib)/[A-Za-z0-9_./%-]*' "$folder/sources" |
    sed 's/%s/NAME/' | grep -vxE '/usr/s?bin' > "$folder/named"
# shellcheck disable=SC2016
grep -oE '^\| `/[^`]*`' "$page" | tr -d '|` ' | grep -v '^/flash/' > "$folder/page"
compare paths

# A word of one or two lines comes from a setting.
sed 's/ .*//' "$folder/lines" | grep -xE '[a-z]+' | sort | uniq -c | awk '$1 > 2 { print $2 }' > "$folder/named"
listed 'Without a path'
compare 'programs without a path'

# A target that is neither one of rc's chains nor a verdict is the kernel's.
grep -oE -- '-m [a-z]+' "$folder/lines" | sed 's/-m //' > "$folder/named"
listed Matches
compare 'iptables matches'
grep -E '^(/usr/sbin/)?iptables ' "$folder/lines" | grep -oE -- '-j [A-Z_]+' | sed 's/-j //' | sort -u > "$folder/targets"
{
    grep -oE -- '^iptables .*-N [A-Z_]+' "$folder/lines" | sed 's/.*-N //'
    printf '%s\n' ACCEPT DROP RETURN
} | sort -u | comm -13 - "$folder/targets" > "$folder/named"
listed Targets
compare 'iptables targets'

grep -oE 'tc qdisc add .*' "$folder/lines" | sed 's/.* handle [0-9a-f]*: *//; s/ .*//' > "$folder/named"
grep -oE 'tc filter add .*' "$folder/lines" | grep -oE '[a-z0-9]+ flowid' | sed 's/ flowid//' >> "$folder/named"
listed Scheduling
compare 'queues and filters'
[ "$status" = 0 ] || exit 1
