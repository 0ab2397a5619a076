#!/bin/sh
# Writes the file server's sample database and compares a walk over it with the answers that come
# with it: check_sample.sh PYTHON MAKE_SAMPLE CHECK_SAMPLE.
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
"$1" "$2" "$dir/db"
KSTR_INI="$dir/db/KSTR.INI" "$3" "$dir/db/expected.json"
