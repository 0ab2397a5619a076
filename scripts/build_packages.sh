#!/bin/sh
# Builds the Debian packages in build-deb and has lintian look at them.
set -eu
cd "$(dirname "$0")/.."
version() { sed -n "s/^#define FOLDAPI_VERSION_$1 //p" include/foldapi/foldapi.h; }
version="$(version MAJOR).$(version MINOR).$(version PATCH)"
head -1 debian/changelog | grep -qF "($version)" ||
  { echo "debian/changelog doesn't begin with version $version"; exit 1; }

mkdir -p build-deb
rm -f build-deb/*.deb
DEB_BUILD_OPTIONS="terse noautodbgsym parallel=$(nproc)"
export DEB_BUILD_OPTIONS DEB_RULES_REQUIRES_ROOT=no
echo 'Building the packages in build-deb ...'
dh_clean
if [ -t 1 ]; then
  debian/rules binary
else
  debian/rules binary > build-deb/log 2>&1 || { cat build-deb/log; exit 1; }
fi

echo 'Checking the packages ...'
as_root=
[ "$(id -u)" -ne 0 ] || as_root=--allow-root
lintian $as_root --fail-on error build-deb/*.deb
ls -1 build-deb/*.deb
