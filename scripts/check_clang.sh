#!/bin/sh
# Fails if clang 14 has a warning on a source; the build itself is g++'s.
set -eu
cd "$(dirname "$0")/.."
warnings='-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only -Iinclude'
# What CMake finds out; here any text will do.
warnings="$warnings -DARCHIVE_CLIENT=\"\" -DTREVAULT=\"\" -DTREVAULT_LIBRARIES=\"\""
warnings="$warnings -DPYTHON=\"\" -DPYTHON_PACKAGE=\"\" -DPYTHON_LOOP=\"\" -DWALK=\"\""
warnings="$warnings -DFUZZ_HEADER=\"check_dates.h\" -DFUZZ_CHECK=checkDates"
# shellcheck disable=SC2086
{
  find examples bench -name '*.c' -print0 |
    xargs -0 -r -n 1 clang-14 -std=c99 $warnings
  find src tests examples -name '*.cpp' ! -name '*_windows.cpp' ! -path '*/windows/*' -print0 |
    xargs -0 -r -n 4 -P "$(nproc)" clang++-14 -std=c++20 $warnings -Isrc -Itests
  find bench fuzz -name '*.cpp' -print0 |
    xargs -0 -r -n 4 -P "$(nproc)" clang++-14 -std=c++20 $warnings -Isrc -Itests \
      $(pkg-config --cflags glib-2.0 2> /dev/null)
}
