#!/bin/sh
# Fails if a generated file differs from the program's current output.
#   current.sh RC_REFERENCE PAGE FILE
if ! "$1" "$2" | diff -u --label "$3, as it is" --label "$3, as it should be" "$3" -; then
    echo "$3 is out of date. To renew it: tools/renew.sh"
    exit 1
fi
echo "ok: $3"
