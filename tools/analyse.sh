#!/bin/sh
# Static analysis of our code: clang-tidy (the preset's warnings are errors), gcc's analyzer, and cppcheck.
set -eu
cd "$(dirname "$0")/.."

# Only the preset's command lines are needed: clang-tidy reads the sources itself, and reports clang's warnings too. A
# source of several programs is read once, because several lines for one file confuse its analyzer.
cmake --preset tidy > /dev/null
mkdir -p build/tidy/once
python3 -c '
import json, sys
lines = json.load(sys.stdin)
json.dump(list({line["file"]: line for line in lines}.values()), sys.stdout)
' < build/tidy/compile_commands.json > build/tidy/once/compile_commands.json
run-clang-tidy -quiet -p build/tidy/once -j "$(nproc)" > build/tidy/log 2>&1 || {
    grep -E '(error|warning):' -A 3 build/tidy/log
    exit 1
}
echo "clang-tidy: $(grep -c '^clang-tidy' build/tidy/log) files are clean"

cmake --preset analyzer > /dev/null
cmake --build --preset analyzer -j "$(nproc)"
# Check that the analyzer works: it must report a double free.
flags=$(sed -n 's/.*"command": "[^"]*\( -fanalyzer[^"]*\) -o .*/\1/p' build/analyzer/compile_commands.json | sed -n 1p)
# shellcheck disable=SC2086 # these are words
echo 'extern "C" void free(void*); void twice(void* text) { free(text); free(text); }' |
    LC_ALL=C g++ $flags -x c++ -c -o /dev/null - 2>&1 | grep -q analyzer-double-free || {
    echo "gcc's analyzer does not report a double free; its options: ${flags:-none}"
    exit 1
}
echo "gcc's analyzer: clean"

cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ -j "$(nproc)" -I src \
    --enable=warning,performance,portability --suppressions-list=tools/cppcheck.txt src
echo "cppcheck: clean"
