#!/bin/sh
# Fails if a source is not as clang-format (14, of Debian 12) would write it.
cd "$(dirname "$0")/.."
find include src examples tests bench fuzz \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) \
  -exec clang-format-14 --dry-run -Werror {} +
