#!/bin/sh
# Builds the libraries for a 32-bit and for a big-endian machine, runs the tests of the engine, the
# store and what lies below them there, and lets each read the archives that the others have made.
# The other machines' libraries are unpacked below build-ports, nothing is installed; the big-endian
# machine is emulated.
set -eu
cd "$(dirname "$0")/.."
ports=$PWD/build-ports
tests='base core dates os runtime store btkf520'
mkdir -p "$ports"

# Unpacks a machine's libraries: unpack_root DEBIAN_NAME
unpack_root() {
  root=$ports/$1/root
  [ ! -e "$root.done" ] || return 0
  echo "Fetching the libraries of $1 ..."
  debootstrap --download-only --variant=minbase --arch="$1" \
    --include=libc6-dev,libgtest-dev,libzstd-dev \
    bookworm "$ports/$1/packages" > "$ports/$1/log" 2>&1 ||
    { cat "$ports/$1/log"; exit 1; }
  for package in "$ports/$1/packages/var/cache/apt/archives"/*.deb; do
    dpkg-deb -x "$package" "$root"
  done
  touch "$root.done"
}

# Runs a program of that machine: run_on DEBIAN_NAME PROGRAM [ARGUMENT...]
run_on() {
  machine=$1
  shift
  case $machine in
    native) "$@" ;;
    i386)
      LD_LIBRARY_PATH=$ports/i386/root/lib/i386-linux-gnu:$ports/i386/root/usr/lib/i386-linux-gnu \
        "$@" ;;
    *) "qemu-$machine" -L "$ports/$machine/root" "$@" ;;
  esac
}

# test_port DEBIAN_NAME COMPILER_NAME [LINK_OPTION]
test_port() {
  mkdir -p "$ports/$1"
  unpack_root "$1"
  targets=exchange
  for test in $tests; do targets="$targets ${test}_test"; done
  # shellcheck disable=SC2086  # A list of names.
  scripts/build.sh "build-ports/$1/build" $targets -DFOLDAPI_PROGRAM=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/port.cmake" \
    -DPORT="$2" -DPORT_ROOT="$ports/$1/root" ${3:+"-DCMAKE_EXE_LINKER_FLAGS=$3"}
  for test in $tests; do
    echo "$1: $test"
    (cd "$ports/$1/build" && run_on "$1" "tests/${test}_test" --gtest_brief=1)
  done
}

test_port i386 i686-linux-gnu "-Wl,--dynamic-linker=$ports/i386/root/lib/ld-linux.so.2"
test_port s390x s390x-linux-gnu
scripts/build.sh build-ports/native/build exchange

for maker in native i386 s390x; do
  made=$ports/made-by-$maker
  rm -rf "$made"
  mkdir "$made"
  run_on "$maker" "$ports/$maker/build/tests/exchange" make "$made"
  for reader in native i386 s390x; do
    run_on "$reader" "$ports/$reader/build/tests/exchange" read "$made"
    echo "Made on $maker, read on $reader"
  done
done
