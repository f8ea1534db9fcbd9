#!/bin/sh
# The page of a router with all lists full stays below a megabyte.
#   report_size_test.sh RCPLAN SOURCE_DIR
limit=1000000
page=$(mktemp) || exit 2
trap 'rm -f "$page"' EXIT
failures=0
for words in 'firewall start' start; do
    # shellcheck disable=SC2086 # words of rc
    "$1" report "$page" --settings "$2/bench/full_house.txt" --world "$2/docs/worlds/booted.world" $words || exit 1
    size=$(wc -c < "$page")
    echo "rc $words: $size bytes"
    [ "$size" -lt "$limit" ] || { echo "expected less than $limit"; failures=1; }
    [ "$size" -gt 100000 ] || { echo 'expected the whole plan'; failures=1; }
done
exit "$failures"
