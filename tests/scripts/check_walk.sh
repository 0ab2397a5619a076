#!/bin/sh
# Runs the C example over a fresh team database: check_walk.sh WALK TEAM [PREFIX...].
# The team's day and the example's output must be walk.expected, byte by byte, and its exit codes
# those that it promises. PREFIX is a command that runs it, such as valgrind with options.
set -eu
expected=$(dirname "$0")/walk.expected
files=$(dirname "$0")/../../examples/team/files
walk=$1 team=$2
shift 2
. "$(dirname "$0")/expect.sh"

"$team" "$files" "$dir/db" > /dev/null
export KSTR_INI="$dir/db/KSTR.INI"

for roots in '' 'V:\pub V:\prv'; do
  # shellcheck disable=SC2086  # Two words, or none: the profile knows the same roots.
  { cat "$dir/db/day.txt"; echo; "$@" "$walk" $roots; } > "$dir/out"
  diff -u "$expected" "$dir/out"
done

expect 2 "$@" "$walk" too many roots
grep -q '^usage: walk' "$dir/err"
expect 2 "$@" "$walk" --unknown
expect 0 "$@" "$walk" --help
grep -q '^usage: walk' "$dir/out"
# The library's own words where the lists of projects can't be read.
mkdir -p "$dir/bad/pub/trvsproj.pub"
expect 0 "$@" "$walk" "$dir/bad/pub" "$dir/bad/prv"
grep -q '^walk: Unable to write ' "$dir/err"
# A full disk at the other end of the output.
expect 1 sh -c 'exec "$@" > /dev/full' sh "$@" "$walk"
