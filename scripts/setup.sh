#!/bin/sh
# Installs what a purpose needs on Debian 12, and only that which is missing:
# setup.sh build | python | test | deb | bench | ports | windows
set -eu
packages='g++ cmake ninja-build python3 pkg-config libzstd-dev libgtest-dev
libcli11-dev libcpp-httplib-dev libfmt-dev nlohmann-json3-dev scdoc'
python='python3-cffi python3-dev python3-setuptools'
case "${1-}" in
  build) ;;
  python) packages="$packages $python" ;;
  test)
    packages="$packages clang-14 libclang-rt-14-dev clang-format-14 valgrind binutils libglib2.0-dev libsqlite3-dev"
    packages="$packages git rcs man-db glusterfs-server glusterfs-client python3-zstandard python3-xxhash"
    packages="$packages $python python3-pip python3-venv python3-wheel mypy flake8 chromium"
    ;;
  deb) packages="$packages debhelper dh-python lintian $python" ;;
  bench) packages="$packages libglib2.0-dev libsqlite3-dev rcs $python" ;;
  ports) packages="$packages debootstrap g++-i686-linux-gnu g++-s390x-linux-gnu qemu-user" ;;
  windows)
    packages="$packages g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix googletest make xz-utils wine64"
    ;;
  *) echo 'usage: setup.sh build | python | test | deb | bench | ports | windows' >&2; exit 2 ;;
esac

missing=
for package in $packages; do
  dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null | grep -qx installed ||
    missing="$missing $package"
done
[ -n "$missing" ] || exit 0

echo "Installing:$missing"
as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -qq
# shellcheck disable=SC2086  # A list of names.
$as_root apt-get install -y -qq --no-install-recommends $missing > /dev/null
