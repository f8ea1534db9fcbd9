#!/bin/sh
# Tests the guard: it must pass the handlers' objects, and fail for an object that calls the system.
#   seam_test.sh CXX NM OBJECT...
here=$(dirname "$0")
cxx=$1
nm=$2
shift 2
sh "$here/seam.sh" "$nm" "$@" || exit 1

folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
for call in 'system("x")' 'fopen("x", "r")' 'sleep(1)' 'unlink("x")' 'getpid()' 'kill(7, 1)' 'time(nullptr)'; do
    printf '#include <stdio.h>\n#include <stdlib.h>\n#include <unistd.h>\n#include <signal.h>\n#include <time.h>\n' \
        > "$folder/stray.cc"
    printf 'void stray() { (void)%s; }\n' "$call" >> "$folder/stray.cc"
    "$cxx" -w -c "$folder/stray.cc" -o "$folder/stray.o" || exit 2
    if sh "$here/seam.sh" "$nm" "$@" "$folder/stray.o" > /dev/null; then
        echo "the guard does not notice $call"
        exit 1
    fi
done
echo "ok: the guard notices stray calls"
