#!/bin/sh
# Static analysis of all that is ours: clang-tidy (the preset's warnings are errors) and cppcheck.
set -eu
cd "$(dirname "$0")/.."

cmake --preset tidy > /dev/null
cmake --build --preset tidy -j "$(nproc)"
echo "clang-tidy: clean"

cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ -j "$(nproc)" -I src \
    --enable=warning,performance,portability --suppressions-list=tools/cppcheck.txt src
echo "cppcheck: clean"
