#!/bin/sh
# Checks layout, shell scripts and man pages: prints each fault, and fails if there is one.
set -eu
cd "$(dirname "$0")/.."

sources=$(git ls-files 'src/*.cc' 'src/*.h' 'tests/*.cc' 'tests/*.h' 'bench/*.cc' | grep -v libnvram.h)
# shellcheck disable=SC2086 # our file names contain no blanks
clang-format --dry-run -Werror $sources
echo "clang-format: $(echo "$sources" | wc -l) files"

# The lab's scripts are one program in several files; its own test reads them together.
scripts=$(git ls-files | grep -v '^lab/' | while read -r file; do
    case $file in *.case) continue ;; esac
    if head -c 64 "$file" | head -n 1 | grep -qaE '^#!.*\b(sh|bash)\b'; then echo "$file"; fi
done)
# shellcheck disable=SC2086
shellcheck -x $scripts completion/rc.bash
echo "shellcheck: $(echo "$scripts" | wc -l) scripts, and the completion"

if git grep -nIE ' +$' -- '*.case' '*.cc' '*.h' '*.sh' '*.bash' '*.py' '*.txt' '*.md'; then
    echo "blanks at the end of these lines"
    exit 1
fi

for page in docs/man/*.[1-8]; do
    complaints=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 > /dev/null)
    [ -z "$complaints" ] || { echo "$page: $complaints"; exit 1; }
done
echo "man pages: $(find docs/man -name '*.[1-8]' | wc -l)"
