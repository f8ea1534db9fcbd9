#!/bin/sh
# Fails if the table of all settings, the sources and the lab's factory settings do not have the same keys, or if the
# store would reject the factory settings. (A unit test of the table compares their values.)
#   factory.sh SOURCE_DIR NVRAM KNOWN_KEYS
cd "$1" || exit 2
nvram=$2
known_keys=$3
factory=lab/root/etc/default
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT

# Every word in quotes, and the composed keys: numbered WEP keys, and the WAN's further connections, of which the
# settings have the first.
{
    grep -ohE '"[A-Za-z][A-Za-z0-9_]*"' src/core/*.cc src/rc/*.cc src/lan/*.cc src/wan/*.cc src/sched/*.cc src/firewall/*.cc \
        src/wireless/*.cc src/settings/networks.h
    grep -ohE '"wifi_key%s[0-9]"' src/wireless/*.cc | sed 's/\(.*\)%s\(.*\)/\11\2\n\12\2\n\13\2\n\14\2/'
    grep -ohE '\("wan_ifname" \+ ' src/lan/igmp.cc | sed 's/.*/"wan_ifname1"/'
} | tr -d '"' | sort -u > "$folder/words"

# Words that can only be keys: arguments of a getter or a setter, or words with a '_'.
{
    grep -ohE 'nvram_(text|value|image_text|zel_set)\("[A-Za-z0-9_]+"' src/*/*.cc | grep -oE '"[A-Za-z0-9_]+"' | tr -d '"'
    grep -E '^[a-z][A-Za-z0-9]*_' "$folder/words" | grep -vxE 'wan_basic'
} | sort -u > "$folder/named"
[ "$(wc -l < "$folder/named")" -gt 200 ] || { echo 'hardly any keys found in the sources'; exit 2; }

"$known_keys" | sort > "$folder/known"
sed -n 's/^\([A-Za-z0-9_.-]*\)=.*/\1/p' "$factory" | sort > "$folder/given"

status=0
complain() {
    [ -z "$2" ] || { echo "$1"; echo "$2"; status=1; }
}
complain 'in the sources, not in the table (src/settings/settings_*.cc):' "$(comm -23 "$folder/named" "$folder/known")"
complain 'in the table, not in the sources:' "$(comm -13 "$folder/words" "$folder/known")"
complain "in the table, not in $factory:" "$(sort -u "$folder/given" | comm -13 - "$folder/known")"
complain "in $factory, not in the table:" "$(sort -u "$folder/given" | comm -23 - "$folder/known")"
complain "twice in $factory:" "$(uniq -d "$folder/given")"
complain 'twice in the table:' "$(uniq -d "$folder/known")"
[ "$status" -eq 0 ] || exit 1

mkdir -p "$folder/tmp" "$folder/etc"
cp "$factory" "$folder/etc/default"
"$nvram" --root "$folder" default && "$nvram" --root "$folder" import "$factory" || exit 1
echo "ok: $(wc -l < "$folder/known") settings in the table, all in the sources and in the factory settings"
