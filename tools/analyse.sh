#!/bin/sh
# Static analysis of all that is ours: clang-tidy (the preset's warnings are errors), gcc's analyzer, and cppcheck.
set -eu
cd "$(dirname "$0")/.."

cmake --preset tidy > /dev/null
cmake --build --preset tidy -j "$(nproc)"
echo "clang-tidy: clean"

cmake --preset analyzer > /dev/null
cmake --build --preset analyzer -j "$(nproc)"
# That it looks at all: a text freed twice.
flags=$(sed -n 's/.*"command": "[^"]*\( -fanalyzer[^"]*\) -o .*/\1/p' build/analyzer/compile_commands.json | sed -n 1p)
# shellcheck disable=SC2086 # these are words
echo 'extern "C" void free(void*); void twice(void* text) { free(text); free(text); }' |
    LC_ALL=C g++ $flags -x c++ -c -o /dev/null - 2>&1 | grep -q analyzer-double-free || {
    echo "gcc's analyzer lets a text be freed twice; its options: ${flags:-none}"
    exit 1
}
echo "gcc's analyzer: clean"

cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ -j "$(nproc)" -I src \
    --enable=warning,performance,portability --suppressions-list=tools/cppcheck.txt src
echo "cppcheck: clean"
