#!/bin/sh
# The comparison itself: it must notice a changed line, a missing file, and a program that fails.
#   current_test.sh RC_REFERENCE
here=$(dirname "$0")
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
current() { sh "$here/current.sh" "$@" > "$folder/out" 2>&1; }
wrong() {
    echo "$1"
    cat "$folder/out"
    exit 1
}

"$1" settings.md > "$folder/page" || exit 1
current "$1" settings.md "$folder/page" || wrong 'the same page counts as another'
sed '1s/.*/# Other/' "$folder/page" > "$folder/changed"
current "$1" settings.md "$folder/changed" && wrong 'a changed line is not noticed'
for line in '-# Other' '+# Settings' "$folder/changed is out of date. To renew it: tools/renew.sh"; do
    grep -qxF -- "$line" "$folder/out" || wrong "not said: $line"
done
current "$1" settings.md "$folder/missing" && wrong 'a missing file is not noticed'
current false settings.md "$folder/page" && wrong 'a program that fails is not noticed'
echo 'ok: the comparison notices changes'
