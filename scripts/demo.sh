#!/bin/sh
# Plays a team's day with the program in a build directory, commands and outputs, and has the C
# example print what it leaves: demo.sh BUILD_DIR.
set -eu
cd "$(dirname "$0")/.."
build=$1
rm -rf "$build/demo"
echo "Ann and Bob share this machine: each has a home in $build/demo/home, and the variable TEAM_USER says
who is there."
python3 tests/scripts/check_transcript.py --play "$build/demo" "$build/trevault" tests/transcripts/team_day.txt

printf '\n# The evening, as a program in C finds it: examples/walk.c\n'
TEAM_USER=ann KSTR_INI="$build/demo/home/ann/.config/trevault/KSTR.INI" "$build/walk"

cat << END

All of that is still there. Next, see as bob what ann has done, and what there is to try:

  TEAM_USER=bob $build/trevault -C $build/demo/home/bob/station log
  $build/trevault help

README.md begins with a project of your own.
END
