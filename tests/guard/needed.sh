#!/bin/sh
# Fails if a program needs other libraries at run time than the given ones.
#   needed.sh READELF FILE LIBRARY...
readelf=$1
file=$2
shift 2
needed=$("$readelf" -d "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\].*/\1/p' | sort | tr '\n' ' ')
wanted=$(printf '%s\n' "$@" | sort | tr '\n' ' ')
[ "$needed" = "$wanted" ] || { echo "$file needs: $needed, expected: $wanted"; exit 1; }
echo "ok: $file needs $needed"
