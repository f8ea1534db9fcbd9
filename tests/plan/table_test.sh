#!/bin/sh
# Fails if one of nvram's generated tables differs from what rcplan finds.
#   table_test.sh RCPLAN SOURCE_DIR FILE, a path below SOURCE_DIR whose name is the table's
rcplan=$1
file=$3
table=$(basename "$file" .inc)
cd "$2" || exit 2
found=$(mktemp) || exit 2
trap 'rm -f "$found"' EXIT
"$rcplan" sinks --table "$table" --settings lab/root/etc/default --case tests/cases/*/*.case > "$found" || exit 1
[ "$(wc -l < "$found")" -gt 30 ] || { echo 'hardly anything found'; exit 1; }
diff -u "$file" "$found" || { echo 'to renew it: tools/renew.sh'; exit 1; }
echo "ok: $table"
