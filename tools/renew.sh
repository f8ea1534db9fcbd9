#!/bin/sh
# Writes anew what is generated from the table of settings: reference, man page, schema, completion.
#   renew.sh [BUILD_DIR]
set -eu
cd "$(dirname "$0")/.."
build=${1-build/release}
[ -f "$build/CMakeCache.txt" ] || cmake --preset "${build##*/}" > /dev/null
cmake --build "$build" --target rc_reference > /dev/null

# By way of a second file, so that what is there stays when the program fails.
new=$(mktemp)
trap 'rm -f "$new"' EXIT
while read -r page file; do
    "$build/src/reference/rc_reference" "$page" > "$new"
    cmp -s "$new" "$file" && continue
    mkdir -p "${file%/*}"
    cat "$new" > "$file"
    echo "written: $file"
done << 'END'
settings.md docs/settings.md
settings.5 docs/man/nvram-settings.5
schema docs/settings.schema.json
completion completion/rc.bash
END
