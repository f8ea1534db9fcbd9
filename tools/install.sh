#!/bin/sh
# Installs the missing packages of the given lists. Prints what it installs; uses sudo if not root.
#   install.sh LIST...
set -eu

missing=''
# shellcheck disable=SC2013 # the lists' words are wanted, not their lines
for package in $(sed 's/#.*//' "$@"); do
    dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2> /dev/null | grep -q '^ii' ||
        missing="$missing $package"
done
if [ -z "$missing" ]; then
    echo "Packages: all are installed."
    exit 0
fi

echo "Packages: installing from Debian:$missing"
as_root=''
if [ "$(id -u)" != 0 ]; then
    command -v sudo > /dev/null || {
        echo "Packages: not root and no sudo. As root: apt-get install$missing" >&2
        exit 1
    }
    as_root=sudo
fi
# An old package list may have versions that the mirror no longer has, so it is updated first.
$as_root apt-get -qq update
# shellcheck disable=SC2086 # the names are words on purpose
$as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -qq install --no-install-recommends $missing > /dev/null
echo "Packages: done."
