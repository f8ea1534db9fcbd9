#!/bin/sh
# Fails if one of nvram's generated tables differs from what rcplan finds.
#   table_test.sh RCPLAN sinks|uses SOURCE_DIR
rcplan=$1
table=$2
cd "$3" || exit 2
found=$(mktemp) || exit 2
trap 'rm -f "$found"' EXIT
"$rcplan" sinks --table "$table" --settings lab/root/etc/default --case tests/cases/*/*.case > "$found" || exit 1
[ "$(wc -l < "$found")" -gt 200 ] || { echo 'hardly anything found'; exit 1; }
diff -u "src/settings/$table.inc" "$found" || { echo 'to renew it: tools/renew.sh'; exit 1; }
echo "ok: $table"
