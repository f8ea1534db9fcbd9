#!/bin/sh
# Tests the guard: it must pass the tree, and fail for each fault that it should notice.
#   porting_test.sh SOURCE_DIR
# shellcheck disable=SC2016 # the backquotes are the page's
here=$(dirname "$0")
source=$1
sh "$here/porting.sh" "$source" || exit 1

folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/tree/docs" "$folder/tree/tests"
cp -r "$source/src" "$folder/tree"
cp -r "$source/tests/cases" "$folder/tree/tests"
cp "$source/docs/porting.md" "$folder/tree/docs"

# Changes one file of a copy of the tree with sed, which the guard must notice with these two lines.
notices() {
    file=$folder/tree/$3
    cp "$file" "$folder/kept"
    sed "$4" "$folder/kept" > "$file"
    cmp -s "$folder/kept" "$file" && { echo "nothing to change in $3: $4"; exit 2; }
    if sh "$here/porting.sh" "$folder/tree" > "$folder/said" 2>&1; then
        echo "the guard does not notice: $1 $2"
        exit 1
    fi
    grep -A 1 -F "$1" "$folder/said" | grep -qxF -- "$2" || { cat "$folder/said"; echo "expected: $1 $2"; exit 1; }
    cp "$folder/kept" "$file"
}
missing='missing in docs/porting.md'
surplus='in docs/porting.md that nothing names'
notices "paths $missing" /etc/other.script src/wan/dhcpc.cc 's|/etc/udhcpc.script|/etc/other.script|'
notices "paths $surplus" /etc/udhcpc.script src/wan/dhcpc.cc 's|/etc/udhcpc.script|/etc/udhcpc.fix.script|'
notices "paths $missing" /usr/sbin/ntp docs/porting.md '/^| `\/usr\/sbin\/ntp`/d'
notices "paths $surplus" /usr/sbin/other docs/porting.md 's|^. `/usr/sbin/ntp`.*|&\n\| `/usr/sbin/other` \| x \||'
notices "programs without a path $missing" killall docs/porting.md 's/`insmod`, `iptables`, `killall`/`insmod`, `iptables`/'
notices "iptables matches $missing" random docs/porting.md 's/`mark`, `random`/`mark`/'
notices "iptables targets $surplus" OTHER docs/porting.md 's/^Targets: /&`OTHER`, /'
notices "queues and filters $missing" sfq docs/porting.md 's/`htb` and `sfq`/`htb`/'
echo 'ok: the guard notices missing and surplus entries'
