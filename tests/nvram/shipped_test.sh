#!/bin/sh
# What ships: the exports, soname and needs of the library, and the sizes.
# The command with the table of settings has no limit; its size is told.
#   shipped_test.sh LIBRARY COMMAND COMMAND_WITH_TABLE STRIP [sizes]
library=$1 command=$2 with_table=$3 strip=$4
failed=0

expect() {
    if [ "$2" != "$3" ]; then
        printf '%s: expected\n%s\nfound\n%s\n' "$1" "$3" "$2"
        failed=1
    fi
}

expect "exports of $library" "$(nm -D --defined-only "$library" | awk '$2 != "A" { print $3 }' | LC_ALL=C sort)" \
    "__nvram_get_fun
nvram_zel_commit
nvram_zel_get
nvram_zel_load
nvram_zel_safe_get
nvram_zel_set"
expect "soname of $library" \
    "$(readelf -d "$library" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')" libnvram.so

# The rest holds without the sanitizers, which need libraries of their own.
if [ "$5" = sizes ]; then
    for file in "$library" "$command" "$with_table"; do
        expect "needs of $file" "$(readelf -d "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')" libc.so.6
    done
    stripped=$(mktemp) || exit 1
    trap 'rm -f "$stripped"' EXIT
    for limit in "$library 24" "$command 32" "$with_table 1024"; do
        file=${limit% *} kilobytes=${limit##* }
        "$strip" -o "$stripped" "$file" || exit 1
        size=$(wc -c <"$stripped")
        echo "$file: $size bytes"
        if [ "$size" -gt $((kilobytes * 1024)) ]; then
            echo "$file: more than $kilobytes KiB"
            failed=1
        fi
    done
fi
exit $failed
