#!/bin/sh
# Fails if a plain cmake without the workstation's packages does not build rc, nvram and libnvram.so, or does not name the
# parts that it leaves out and the packages that these need.
#   plain.sh CMAKE SOURCE_DIR
cmake=$1
source=$2
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
# Without optimisation and in batches: the code itself is not what is tested here.
"$cmake" -S "$source" -B "$folder/build" -DCMAKE_BUILD_TYPE=None -DRC_BATCHES=all -DRC_BATCH_SIZE=20 \
    -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    > "$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
for line in 'Left out: rcplan. Debian packages needed: libcli11-dev' \
    'Left out: the tests. Debian packages needed: libgtest-dev libgmock-dev'; do
    grep -qF "$line" "$folder/log" || { echo "not said: $line"; cat "$folder/log"; exit 1; }
done
"$cmake" --build "$folder/build" -j "$(nproc)" > "$folder/log" 2>&1 || { tail -n 30 "$folder/log"; exit 1; }
for file in bin/rc bin/nvram lib/libnvram.so; do
    [ -x "$folder/build/$file" ] || { echo "not built: $file"; exit 1; }
done
[ ! -e "$folder/build/bin/rcplan" ] || { echo 'rcplan was built without its packages'; exit 1; }
# If a part is requested, the error names the packages.
if "$cmake" -S "$source" -B "$folder/asked" -DRC_WORKSTATION=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON > "$folder/log" 2>&1
then
    echo 'RC_WORKSTATION=ON without its packages is no error'
    exit 1
fi
grep -qF 'RC_WORKSTATION=ON needs these Debian packages: libcli11-dev' "$folder/log" || { cat "$folder/log"; exit 1; }
echo ok
