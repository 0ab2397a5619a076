# shellcheck shell=sh
# Sourced by scripts that run programs: a directory $dir that is removed when the script ends, and `expect`.
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Runs a command, which must end with the exit code that comes first. What it writes goes to
# $dir/out and $dir/err.
expect() {
  want=$1
  shift
  code=0
  "$@" > "$dir/out" 2> "$dir/err" || code=$?
  if [ "$code" -ne "$want" ]; then
    echo "exit code $code instead of $want: $*"
    cat "$dir/out" "$dir/err"
    exit 1
  fi
}
