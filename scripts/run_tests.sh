#!/bin/sh
# Everything that must hold before a change goes in: the tests in an optimised build and again under
# the address and undefined-behaviour sanitizers, the fuzzers' build, then the checks of the sources.
# Ends with the closing lines of both test runs.
set -eu
cd "$(dirname "$0")/.."

# ctest's report goes to the terminal and, for the end, to a file.
run_tests() {
  { ctest --test-dir "$1" --timeout 600 --output-on-failure -j "$(nproc)" || echo failed > "$1/failed"; } 2>&1 |
    tee "$1/ctest.txt"
  [ ! -e "$1/failed" ] || { rm "$1/failed"; exit 1; }
}
closing_lines() { sed -n '/tests passed/,$p' "$1/ctest.txt"; }

scripts/build.sh build
run_tests build
scripts/build.sh build-sanitize -DFOLDAPI_SANITIZE=ON
run_tests build-sanitize
scripts/build.sh build-fuzz -DFOLDAPI_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++-14

echo 'Checking the format ...'
scripts/check_format.sh
echo "Checking clang's warnings ..."
scripts/check_clang.sh
scripts/count_code.sh

printf '\nOptimised build:\n'
closing_lines build
printf '\nWith sanitizers:\n'
closing_lines build-sanitize
