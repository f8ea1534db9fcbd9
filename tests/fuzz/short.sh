#!/bin/sh
# short.sh TARGET INPUTS RUNS LONGEST: so many inputs, always the same ones, seeds first.
set -eu
target=$1
inputs=$2
name=$(basename "$target")
findings=$(mktemp -d)
# A finding is left for people to look at; its name stands in the output.
"$target" -seed=1 -runs="$3" -max_len="$4" -len_control=0 -timeout=120 -report_slow_units=120 -dict="$inputs/words.dict" \
    -print_final_stats=1 -artifact_prefix="$findings/$name-" "$inputs/$name" 2>&1 |
    grep -vE '^(#[0-9]+[[:space:]]+(NEW|REDUCE|RELOAD)|INFO: Loaded|"|\s+NEW_FUNC)' > "$findings/log" || true
cat "$findings/log"
if ! grep -q '^Done [0-9]* runs' "$findings/log"; then
    echo "a finding: $findings"
    exit 1
fi
rm -r "$findings"
