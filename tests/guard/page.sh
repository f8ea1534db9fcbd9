#!/bin/sh
# The settings page stays small, and installs beside what it loads.
#   page.sh BUILD_DIR SOURCE_DIR
build=$1 source=$2
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
failures=0
fail() {
    echo "$1"
    failures=1
}
bytes=$(cat "$source"/web/settings.html "$source"/web/settings.css "$source"/web/settings.js | wc -c)
[ "$bytes" -le $((24 * 1024)) ] || fail "the page has $bytes bytes, more than 24 KiB"
lines=$(wc -l < "$source/web/settings.cgi")
[ "$lines" -lt 100 ] || fail "settings.cgi has $lines lines, not under 100"
DESTDIR=$folder cmake --install "$build" --component web > /dev/null || exit 1
expected='settings.cgi
settings.css
settings.html
settings.js
settings.schema.json'
[ "$(cd "$folder/usr/www" && LC_ALL=C ls)" = "$expected" ] || fail "installed: $(find "$folder" -type f)"
[ -x "$folder/usr/www/settings.cgi" ] || fail 'settings.cgi cannot be run'
# No value, whatever it contains, becomes part of the page or of a program.
grep -nE 'innerHTML|outerHTML|insertAdjacent|document\.write|eval\(|Function\(| style=| on[a-z]+="' \
    "$source"/web/settings.html "$source"/web/settings.js &&
    fail 'the page makes HTML or code of text'
exit "$failures"
