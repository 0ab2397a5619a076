#!/bin/sh
# Runs a program with a new, empty directory as its argument, which goes afterwards.
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
"$@" "$dir"
