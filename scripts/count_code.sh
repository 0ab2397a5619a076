#!/bin/sh
# Counts lines of C and C++ that are neither blank nor all comment, and says what part of them is
# tests. Benchmarks are told apart from both.
cd "$(dirname "$0")/.."

count() {
  find "$@" \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -exec cat {} + | awk '
    comment { if (!sub(/^.*\*\//, "")) next; comment = 0 }
    /^[ \t]*\/\*/ { if (!sub(/^.*\*\//, "")) { comment = 1; next } }
    /^[ \t]*(\/\/.*)?$/ { next }
    { lines++ }
    END { print lines + 0 }'
}

code=$(count include src examples)
tests=$(count tests fuzz)
bench=$(count bench)
printf 'code        %7d\ntests       %7d   %d%% of code and tests\nbenchmarks  %7d\n' \
  "$code" "$tests" $((100 * tests / (code + tests))) "$bench"
