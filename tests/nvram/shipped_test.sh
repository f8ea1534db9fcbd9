#!/bin/sh
# The exports and soname of the shipped library.
#   shipped_test.sh LIBRARY
library=$1
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
exit $failed
