#!/bin/sh
# Fails if the workstation's component does not install the pages and completions where they are searched for.
#   install_test.sh BUILD_DIR
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
DESTDIR=$folder cmake --install "$1" --component workstation > /dev/null || exit 1

for file in man/man1/rcplan.1 man/man5/nvram-settings.5 man/man8/nvram.8 man/man8/rc.8; do
    [ -s "$folder/usr/share/$file" ] || { echo "not installed: $file"; exit 1; }
done
for program in rc nvram rcplan; do
    completion=$folder/usr/share/bash-completion/completions/$program.bash
    [ -s "$completion" ] || { echo "not installed: $completion"; exit 1; }
    bash -c '. "$1" && complete -p "$2"' - "$completion" "$program" > /dev/null || exit 1
done
echo 'ok: pages and completions'
