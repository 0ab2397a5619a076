#!/bin/sh
# A program with rights that its user has not takes no orders from that user: check_raised.sh PROGRAM
# runs copies of PROGRAM that are set-user-id and set-group-id. Root does so as another user. Any other
# user can only make a set-group-id one, if he has a second group.
set -eu
program=$1
. "$(dirname "$0")/expect.sh"
chmod 755 "$dir"

# check MODE OWNER GROUP WANT: how a copy of PROGRAM answers that is OWNER's and GROUP's, with files of
# the user and of root.
check() {
  cp "$program" "$dir/copy"
  chgrp "$3" "$dir/copy"
  [ -z "$other" ] || chown "$2" "$dir/copy"
  chmod "$1" "$dir/copy"
  # shellcheck disable=SC2086
  expect 0 $other env HOME=/evil KSTR_INI=/evil/ini XDG_DATA_HOME=/evil/data PATH=/evil:/bin \
    "$dir/copy" "$dir/users" "$dir/owners"
  case "$1 $(cat "$dir/out")" in
    [24]*'raised 0'*) echo 'Left out: files here lend no rights.' >&2; exit 77 ;;
  esac
  [ "$(cat "$dir/out")" = "$4" ] || { echo "mode $1: $(cat "$dir/out")"; echo "instead of $4"; exit 1; }
  rm -f "$dir/copy"
}

: > "$dir/users"
: > "$dir/owners"
user=$(id -u) group= other=
if [ "$user" -eq 0 ]; then
  user=65534 group=1 other='setpriv --reuid 65534 --regid 65534 --clear-groups'
  chown 65534 "$dir/users"
  chown 1 "$dir/owners"
else
  chmod 666 "$dir/owners"
  for one in $(id -G); do [ "$one" -eq "$(id -g)" ] || group=$one; done
fi

check 755 "$user" "$(id -g)" 'raised 0 profile /evil/ini data /evil/data trusts 1 0 command 0'
[ -n "$group" ] || { echo 'Left out: no second group.' >&2; exit 77; }
check 2755 "$user" "$group" 'raised 1 profile none data none trusts 0 0 command 1'
[ -n "$other" ] || { echo 'Left out: only root makes set-user-id programs of others.' >&2; exit 0; }
home=$(getent passwd 1 | cut -d: -f6)
check 4755 1 0 "raised 1 profile $home/.config/trevault/KSTR.INI data $home/.local/share trusts 0 1 command 1"
