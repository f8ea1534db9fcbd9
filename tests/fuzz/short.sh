#!/bin/sh
# short.sh TARGET INPUTS RUNS LONGEST: runs a fixed sequence of RUNS inputs, seeds first.
set -eu
target=$1
inputs=$2
name=$(basename "$target")
findings=$(mktemp -d)
# A finding is kept as a file; the output shows its name.
"$target" -seed=1 -runs="$3" -max_len="$4" -len_control=0 -timeout=120 -report_slow_units=120 -dict="$inputs/words.dict" \
    -print_final_stats=1 -artifact_prefix="$findings/$name-" "$inputs/$name" 2>&1 |
    grep -vE '^(#[0-9]+[[:space:]]+(NEW|REDUCE|RELOAD)|INFO: Loaded|"|\s+NEW_FUNC)' > "$findings/log" || true
cat "$findings/log"
if ! grep -q '^Done [0-9]* runs' "$findings/log"; then
    echo "a finding: $findings"
    exit 1
fi
rm -r "$findings"
