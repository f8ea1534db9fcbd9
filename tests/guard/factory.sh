#!/bin/sh
# Fails when the lab's factory settings lack a key that the sources name, name one twice, or hold a line that the
# store would not take.
#   factory.sh SOURCE_DIR NVRAM
cd "$1" || exit 2
nvram=$2
factory=lab/root/etc/default
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT

# Keys stand in quotes behind a getter or a setter, or in the lists that such calls walk.
{
    grep -ohE 'nvram_(text|value|image_text|zel_set)\("[A-Za-z0-9_]+"' src/*/*.cc
    grep -ohE 'for \(const char\* key : \{[^}]*' src/*/*.cc
    grep -ohE '(when|write_login_block)\("[^)]*' src/*/*.cc
    grep -ohE '"wifi_[A-Za-z0-9_]+"' src/wireless/*.cc
} | grep -oE '"[A-Za-z0-9_]+"' | tr -d '"' | grep -vE '^(bpa|ras)$' | sort -u > "$folder/named"
[ "$(wc -l < "$folder/named")" -gt 200 ] || { echo 'hardly any keys found in the sources'; exit 2; }

sed -n 's/^\([A-Za-z0-9_.-]*\)=.*/\1/p' "$factory" | sort > "$folder/given"
missing=$(sort -u "$folder/given" | comm -23 "$folder/named" -)
[ -z "$missing" ] || { echo "not in $factory:"; echo "$missing"; exit 1; }
twice=$(uniq -d "$folder/given")
[ -z "$twice" ] || { echo "twice in $factory: $twice"; exit 1; }

mkdir -p "$folder/tmp" "$folder/etc"
cp "$factory" "$folder/etc/default"
"$nvram" --root "$folder" default && "$nvram" --root "$folder" import "$factory" || exit 1
echo "ok: $(wc -l < "$folder/named") keys named, all in the factory settings"
