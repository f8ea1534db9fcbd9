#!/bin/sh
# Static analysis of our code: clang-tidy (the preset's warnings are errors) with clang's analyzer, and cppcheck.
# gcc's analyzer is made for C: half of its checks are wrong about C++, and the others found nothing here.
set -eu
cd "$(dirname "$0")/.."

# Only the preset's command lines are needed: clang-tidy reads the sources itself, and reports clang's warnings too. A
# source of several programs is read once, because several lines for one file confuse its analyzer.
cmake --preset tidy > /dev/null
cmake --preset tidy -B build/tidy/single -DRC_BATCHES=none > /dev/null
tidy() {
    log=$1
    shift
    run-clang-tidy -quiet -j "$(nproc)" "$@" > "build/tidy/$log" 2>&1 || {
        grep -E '(error|warning):' -A 3 "build/tidy/$log"
        exit 1
    }
}
tidy log -p build/tidy -checks='-clang-analyzer-*,-bugprone-suspicious-include' '/src/.*'
# Each check walks through all of GoogleTest's headers, so tests get those that find what a test run does not show.
tidy log.tests -p build/tidy '/(tests|bench)/.*' \
    -checks='-*,bugprone-use-after-move,bugprone-dangling-handle,bugprone-infinite-loop,bugprone-assert-side-effect,
        bugprone-suspicious-string-compare,misc-redundant-expression,modernize-use-nullptr,performance-for-range-copy'
echo "clang-tidy: $(cat build/tidy/log build/tidy/log.tests | grep -c '^clang-tidy') batches are clean"
router='src/(libnvram|core|settings|sched|lan|wan|wireless|firewall|rc|check|nvram)/'
# With its full limit of nodes for a function (225,000) it takes four times as long.
tidy log.analyzer -p build/tidy/single -checks='-*,clang-analyzer-*,-clang-analyzer-security.insecureAPI.*' \
    -extra-arg=-Xclang -extra-arg=-analyzer-config -extra-arg=-Xclang -extra-arg=max-nodes=20000 "$router"
echo "clang's analyzer: $(grep -c '^clang-tidy' build/tidy/log.analyzer) sources are clean"
# Check that both analyze at all, inside a batch and alone.
mkdir -p build/tidy/planted
echo 'int* planted() { return 0; }' > build/tidy/planted/src.cc
echo 'int planted_null() { int* none = nullptr; return *none; }' > build/tidy/planted/null.cc
echo '#include "planted/src.cc"' > build/tidy/planted/batch.cc
for planted in batch:modernize-use-nullptr null:clang-analyzer-core.NullDereference; do
    file=${planted%%:*}
    clang-tidy --quiet --checks="-*,${planted#*:}" --header-filter='.*' "build/tidy/planted/$file.cc" -- -std=c++20 \
        -Ibuild/tidy 2>&1 | grep -q "${planted#*:}" || {
        echo "clang-tidy does not find what was planted for ${planted#*:}"
        exit 1
    }
done

cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ -j "$(nproc)" -I src \
    --enable=warning,performance,portability --suppressions-list=tools/cppcheck.txt src
echo "cppcheck: clean"
