#!/bin/sh
# Runs every benchmark program of a build directory: run_benchmarks.sh BUILD_DIR.
set -eu
cd "$(dirname "$0")/.."
found=
for source in bench/*.cpp; do
  program=$1/bench/$(basename "$source" .cpp)
  [ -e "$source" ] || continue
  [ -e "$program" ] || { echo "not built: $program"; continue; }
  found=yes
  printf '\n%s\n' "$(basename "$source" .cpp)"
  "$program"
done
[ -n "$found" ] || { echo 'No benchmark in bench/.' >&2; exit 1; }
