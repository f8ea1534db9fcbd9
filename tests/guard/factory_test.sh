#!/bin/sh
# Tests the guard: it must pass the tree, and fail for each fault that it should notice.
#   factory_test.sh SOURCE_DIR NVRAM KNOWN_KEYS
here=$(dirname "$0")
source=$1
nvram=$2
known_keys=$3
sh "$here/factory.sh" "$source" "$nvram" "$known_keys" || exit 1

folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT

# Changes one file of a copy of the tree with sed, which the guard must notice with this complaint.
notices() {
    complaint=$1
    file=$folder/tree/$2
    rm -rf "$folder/tree"
    mkdir -p "$folder/tree/lab/root"
    cp -r "$source/src" "$folder/tree"
    cp -r "$source/lab/root/etc" "$folder/tree/lab/root"
    sed "$3" "$file" > "$folder/changed"
    cmp -s "$folder/changed" "$file" && { echo "nothing to change in $2: $3"; exit 2; }
    cp "$folder/changed" "$file"
    if sh "$here/factory.sh" "$folder/tree" "$nvram" "$known_keys" > "$folder/said" 2>&1; then
        echo "the guard does not notice: $complaint"
        exit 1
    fi
    grep -qF "$complaint" "$folder/said" || { cat "$folder/said"; echo "expected: $complaint"; exit 1; }
}

notices 'in the sources, not in the table' src/lan/lan.cc 's/nvram_text("lan_bipaddr")/nvram_text("other")/'
notices 'in the sources, not in the table' src/wan/wan_basic.cc 's/"static_mtu"/"other_mtu"/'
notices 'in the table, not in the sources' src/lan/lan.cc 's/"lan_bipaddr"/"lan_ipaddr"/'
notices 'in the table, not in the sources' src/settings/networks.h 's/"wifi_def_key2"/"wifi_def_key3"/'
notices 'in the table, not in lab/root/etc/default' lab/root/etc/default '/^lan_bipaddr=/d'
notices 'in lab/root/etc/default, not in the table' lab/root/etc/default 's/^lan_bipaddr=.*/&\nlan_other=1/'
notices 'twice in lab/root/etc/default' lab/root/etc/default 's/^lan_bipaddr=.*/&\n&/'
notices 'line 1 is not KEY=VALUE' lab/root/etc/default '1i\no sign between'
echo "ok: the guard notices missing and surplus keys, and factory settings that the store rejects"
