#!/bin/sh
# Builds targets in a build directory: build.sh BUILD_DIR [TARGET...] [-DOPTION=VALUE...].
# Says little when all goes well, and everything when it doesn't. A terminal is shown how far it is.
set -eu
cd "$(dirname "$0")/.."
dir=$1
shift
targets= options=
for argument in "$@"; do
  case $argument in
    -D*) options="$options $argument" ;;
    *) targets="$targets $argument" ;;
  esac
done
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building in $dir ..."
# shellcheck disable=SC2086  # Lists of words.
if ! cmake -S . -B "$dir" -G Ninja $options > "$log" 2>&1; then
  cat "$log"
  exit 1
elif [ -t 1 ]; then
  cmake --build "$dir" ${targets:+--target $targets}
elif ! cmake --build "$dir" ${targets:+--target $targets} > "$log" 2>&1; then
  cat "$log"
  exit 1
fi
