#!/bin/sh
# The demo tells true, and the commands that it names in the end work: check_demo.sh BUILD_DIR.
set -eu
cd "$(dirname "$0")/../.."
. tests/scripts/expect.sh
expect 0 scripts/demo.sh "$1"
cp "$dir/out" "$dir/demo"
diff /dev/null "$dir/err"
grep -q '^promoted pump.c 1.1.1.0 to test, 1.2 left it' "$dir/demo"
grep -q ' status .*readable, has revisions' "$dir/demo"
sed -n 's/^  \(.*trevault .*\)/\1/p' "$dir/demo" > "$dir/next"
[ "$(wc -l < "$dir/next")" -eq 2 ]
expect 0 sh -e "$dir/next"
grep -q 'Start without a valve' "$dir/out"
