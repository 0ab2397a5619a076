#!/bin/sh
# Has two systems work in turn at the same files: check_exchange.sh ONE OTHER, directories with the
# programs exchange, team, walk and trevault of either, where OTHER is Windows and has all of ONE on its drive Z.
#
# An archive that one has made the other reads and goes on with. In a database two users work, each
# on either system: whoever is where, the answers are the same, and the data files have the same
# lines, but for the drive and for times; the order of records depends on paths with their drives.
# The example of a team names none but its own drive: there the data files are the same to the byte.
# Archives hold times, so they are compared by what both systems read from them.
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
one=$1 other=$2
export TREVAULT_HINTS=0

for order in "$one $other $one" "$other $one $other"; do
  mkdir "$dir/archive"
  for side in $order; do
    [ ! -e "$dir/archive/file.c_v" ] || "$side/exchange" read "$dir/archive"
    "$side/exchange" make "$dir/archive"
  done
  for side in "$one" "$other"; do "$side/exchange" read "$dir/archive"; done
  rm -r "$dir/archive"
done

for side in "$one" "$other"; do
  "$side/team" examples/team/files "$dir/db" > /dev/null
  rm -rf "$dir/files"
  mkdir "$dir/files"
  cp -r "$dir/db/pub" "$dir/db/prv" "$dir/files"
  [ -e "$dir/first" ] || cp -r "$dir/files" "$dir/first"
  diff -r "$dir/first" "$dir/files"
  printf '[TRVSPATHS]\nV:=%s\n' "$dir/db" > "$dir/db/KSTR.INI"  # Not as its own system says it.
  for reader in "$one" "$other"; do
    KSTR_INI="$dir/db/KSTR.INI" "$reader/walk" 'V:\pub' 'V:\prv' > "$dir/told"
    sed '1,/^$/d' tests/scripts/walk.expected | diff -u - "$dir/told"
  done
  rm -r "$dir/db"
done

# Sits down at a user's desk: become USER SYSTEM
become() {
  mkdir -p "$dir/db/$1"
  cd "$dir/db/$1"
  system=$2
  export KSTR_INI="$dir/db/$1/KSTR.INI"
  [ -e "$KSTR_INI" ] || [ "$system" != "$one" ] || printf '[TRVSPATHS]\r\nZ:=/\r\n' > "$KSTR_INI"
}

# What it says and how it ends; a failure is an answer as well.
t() { "$system/trevault" "$@" 2>&1 || echo "exit code $?"; }

look() {
  for what in status list labels verify 'project list' 'folder list' locks 'cat src/valve.c'; do
    # shellcheck disable=SC2086  # A list of words.
    t $what
  done
}

# Ann, then Bob, then Ann again: days SYSTEM_OF_ANN SYSTEM_OF_BOB
days() {
  become ann "$1"
  mkdir -p work/src work/docs
  cd work
  echo 'int pump;' > pump.c
  printf 'int valve;\r\n' > src/valve.c
  echo 'Text' > docs/manual.txt
  t init --public ../../pub --private ../prv
  t project add 'Pump Station' --archives ../../vault
  t folder add Docs docs
  t add .
  t label REL_1
  t lock pump.c
  become bob "$2"
  t init --public ../pub --private prv
  t join 'Pump Station' work
  cd work
  t rename pump.c pumps.c
  t lock src/valve.c docs/manual.txt pumps.c
  echo 'int more;' >> src/valve.c
  t checkin -m 'More of it' src/valve.c
  t label REL_2
  t label REL_1 src/valve.c
  t folder add Mine mine --mine
  t project add Other ../other --team-work ../../team
  t remove -y docs/manual.txt
  t config set USERID ACCOUNT
  look
  become ann "$1"
  cd work
  t checkout
  t folder remove -y Docs
  look
}

for order in "$one $one" "$one $other" "$other $one" "$other $other"; do
  # shellcheck disable=SC2086  # Two words.
  (days $order) | sed 's/\r$//' > "$dir/said"
  (cd "$dir/db" && find pub ann/prv bob/prv -type f | sort | while read -r file; do
    echo "== $file"
    cat -A "$file" | sed 's/Z://g' | sort
  done) >> "$dir/said"
  grep -q '^checked in src/valve.c 1.1' "$dir/said"
  sed 's/Z://g; s/20[0-9][0-9]-[0-9-]* [0-9:]*/TIME/g' "$dir/said" > "$dir/now"
  [ -e "$dir/before" ] || cp "$dir/now" "$dir/before"
  diff -u "$dir/before" "$dir/now"
  rm -r "$dir/db"
done
