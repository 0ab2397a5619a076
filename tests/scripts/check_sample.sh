#!/bin/sh
# Writes the file server's sample database and compares what the C interface tells about it with the
# answers that come with it: check_sample.sh PYTHON MAKE_SAMPLE DESCRIBE.
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
"$1" "$2" "$dir/db"
"$1" "$(dirname "$0")/sample_answers.py" "$dir/db/expected.json" > "$dir/expected"
KSTR_INI="$dir/db/KSTR.INI" "$3" "$dir/described" > /dev/null
# The answers don't know the archive directories of projects, the third text of their lines.
sed 's/^\([^ ].* | .* | \).* | \(.* | .*\)$/\1\2/' "$dir/described" | diff -u "$dir/expected" -
