#!/bin/sh
# rcplan exposure with a thousand keywords ends, and knows the last of them.
#   exposure_keywords_test.sh RCPLAN SOURCE_DIR
rcplan=$1
source=$2
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 2
{
    cat "$source/lab/root/etc/default"
    printf 'fw_block=1\nfw_block_keyword='
    seq -f 'word%04.0f.example' -s '\x01' 1 1000
} > settings
"$rcplan" exposure --settings settings --from lan > out || exit 1
grep -xF 'anyone gets past fw_block_keyword: only tcp 80 is searched' out || exit 1
grep -F 'if the payload contains none of "word0001.example", "word0002.example", "word0003.example" and 997 other texts' out
