#!/bin/sh
# Names each source that is not as clang-format (14, of Debian 12) would write it, and fails if there
# is one. clang-format-14 -i FILE puts it right.
cd "$(dirname "$0")/.."
bad=$(find include src examples python tests bench fuzz \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) \
  -exec sh -c 'clang-format-14 --dry-run -Werror "$1" 2> /dev/null || echo "$1"' sh {} \;)
[ -z "$bad" ] || { echo "Not as clang-format-14 writes them:"; echo "$bad"; exit 1; }
