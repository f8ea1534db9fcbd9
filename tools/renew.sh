#!/bin/sh
# Regenerates the generated files: from every action and every case, the tables of sinks, uses and restarts; from the table
# of settings, the reference, man page, schema and completion.
#   renew.sh [BUILD_DIR]
set -eu
cd "$(dirname "$0")/.."
build=${1-build/release}
[ -f "$build/CMakeCache.txt" ] || cmake --preset "${build##*/}" > /dev/null

# Via a temporary file, so that the old file stays if a program fails.
new=$(mktemp)
trap 'rm -f "$new"' EXIT
build() {
    cmake --build "$build" --target "$1" > "$new" || {
        cat "$new"
        exit 1
    }
}
put() {
    cmp -s "$new" "$1" && return
    mkdir -p "${1%/*}"
    cat "$new" > "$1"
    echo "written: $1"
}

build rcplan
while read -r table file; do
    "$build/bin/rcplan" sinks --table "$table" --settings lab/root/etc/default --case tests/cases/*/*.case > "$new"
    put "$file"
done << 'END'
sinks src/settings/sinks.inc
uses src/settings/uses.inc
restarts src/nvram/restarts.inc
files src/bundle/files.inc
END

build rc_reference
while read -r page file; do
    "$build/bin/rc_reference" "$page" > "$new"
    put "$file"
done << 'END'
settings.md docs/settings.md
settings.5 docs/man/nvram-settings.5
schema docs/settings.schema.json
secret src/libnvram/secret.inc
completion completion/rc.bash
END
