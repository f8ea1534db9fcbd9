#!/bin/sh
# Fails unless the router's component installs exactly its four files at their places.
#   install.sh BUILD_DIR
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
DESTDIR=$folder cmake --install "$1" --component router > /dev/null || exit 1
installed=$(cd "$folder" && find . -type f | sort | tr '\n' ' ')
wanted='./usr/lib/libnvram.so ./usr/sbin/nvram ./usr/sbin/rc ./usr/sbin/rc-bundle '
[ "$installed" = "$wanted" ] || { echo "installed: $installed, expected: $wanted"; exit 1; }
readelf -d "$folder/usr/sbin/rc" | grep -qE 'RPATH|RUNPATH' && { echo "rc names a library folder"; exit 1; }
readelf -d "$folder/usr/lib/libnvram.so" | grep -q 'SONAME.*\[libnvram.so\]' || { echo "wrong soname"; exit 1; }
echo "ok: $installed"
