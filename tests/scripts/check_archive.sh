#!/bin/sh
# Runs the C example of archives in a fresh directory: check_archive.sh ARCHIVE [PREFIX...]. Its exit
# codes must be those that it promises, and its tree the one that it builds. PREFIX is a command that
# runs it, such as valgrind with options.
set -eu
archive=$1
shift
. "$(dirname "$0")/expect.sh"

"$@" "$archive" "$dir" > "$dir/out"
grep '^  *1\.[0-9.]* ' "$dir/out" > "$dir/tree"
diff -u - "$dir/tree" << 'EXPECTED'
    1.0 First version
    1.1 Add the brake [REL_1]
        1.1.1.0 Repair the old version [development]
    1.2 Windows line ends [NEXT] [production]
EXPECTED

expect 2 "$@" "$archive"
expect 1 "$@" "$archive" "$dir"
grep -q "there is a file of the archive's name$" "$dir/err"
