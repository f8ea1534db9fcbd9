#!/bin/sh
# Fails if tools/pictures does not make two different pictures, if a picture in the tree is larger than 150 kB, or if it has
# another size in pixels than the one that tools/pictures makes.
#   pictures_test.sh SOURCE_DIR BUILD_DIR
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
"$1/tools/pictures" --build-dir "$2" --output "$folder" || exit
cmp -s "$folder/report-light.png" "$folder/report-dark.png" && { echo 'light and dark are the same'; exit 1; }
# A PNG's width and height are its bytes 16 to 23.
pixels() { od -An -tx1 -j16 -N8 "$1"; }
for scheme in light dark; do
    kept=$1/docs/pictures/report-$scheme.png
    [ "$(pixels "$kept")" = "$(pixels "$folder/report-$scheme.png")" ] || { echo "$kept: another size"; exit 1; }
    [ "$(wc -c < "$kept")" -lt 150000 ] || { echo "$kept: too large"; exit 1; }
done
echo 'ok: both pictures'
