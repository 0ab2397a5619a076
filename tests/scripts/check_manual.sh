#!/bin/sh
# Every command has a page in the manual, by both its names, which man shows without a warning and
# which tells of all its options: check_manual.sh BUILD_DIR.
set -eu
. "$(dirname "$0")/expect.sh"
build=$(cd "$1" && pwd)
export LC_ALL=C.UTF-8 MANWIDTH=200
mkdir -p "$dir/share/man"
cmake --install "$build" --prefix "$dir" > /dev/null
cd "$dir/share/man"
show() { man --warnings -M "$dir/share/man" "$@" 2>> "$dir/warnings" > "$dir/page"; }

"$build/trevault" help | sed -n 's/^  \([a-z][a-z ,-]*\)  .*/\1/p' > "$dir/commands"
[ "$(wc -l < "$dir/commands")" -gt 30 ]
while read -r command; do
  case $command in
    *,*) names=$(echo "$command" | tr -d ,) ;;
    *) names=${command%% *} ;;  # "project add" is in the page of "project".
  esac
  for name in $names; do
    show 1 "trevault-$name" || { echo "no page: $command"; exit 1; }
    # shellcheck disable=SC2086  # Two words.
    "$build/trevault" help ${command%%,*} | sed '/--project/,$d' | grep -oE -- '--[a-z][a-z-]+' |
      while read -r option; do
        grep -qF -- "$option" "$dir/page" || { echo "trevault-$name: nothing of $option"; exit 1; }
      done
  done
done < "$dir/commands"
show 1 trevault
grep -q -- '--dry-run\|-n' "$dir/page" && grep -q -- '--json' "$dir/page"
show 5 trevault
diff /dev/null "$dir/warnings"
