#!/bin/sh
# Installs the packages of the lists named, as far as they are missing. Says what it installs; uses sudo when not root.
#   install.sh LIST...
set -eu

missing=''
# shellcheck disable=SC2013 # the lists' words are wanted, not their lines
for package in $(sed 's/#.*//' "$@"); do
    dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2> /dev/null | grep -q '^ii' ||
        missing="$missing $package"
done
if [ -z "$missing" ]; then
    echo "Packages: all that is needed is installed."
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
# A package list that is there may name versions that the mirror no longer has, so it is renewed first.
$as_root apt-get -qq update
# shellcheck disable=SC2086 # the names are words on purpose
$as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -qq install --no-install-recommends $missing > /dev/null
echo "Packages: done."
