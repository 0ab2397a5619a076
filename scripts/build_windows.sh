#!/bin/sh
# Builds the libraries, the program and the examples for Windows, and packs them with their headers:
# build_windows.sh [x86_64|i686 ...]. Both machines without any. All is below build-windows.
#
# zstd is built from Debian's source package: what is fetched must have the checksum below.
set -eu
unset CFLAGS CXXFLAGS LDFLAGS  # Those are for the machine that builds.
cd "$(dirname "$0")/.."
machines=${*:-x86_64 i686}
windows=$PWD/build-windows
zstd_version=1.5.4+dfsg2
zstd_revision=5
zstd_checksum=8cf4bbb65e77ec348d052c8d6230eba66d435bddf64c8b5be2fcb16880c19953
archive=$windows/libzstd_$zstd_version.orig.tar.xz
mkdir -p "$windows"

# Fetches the source once, with a list of sources of its own.
fetch_zstd() {
  if [ ! -e "$archive" ]; then
    echo 'Fetching the source of zstd ...'
    lists=$(mktemp -d)
    mkdir -p "$lists/lists/partial"
    echo 'deb-src http://deb.debian.org/debian bookworm main' > "$lists/sources.list"
    options="-qq -o Dir::Etc::SourceList=$lists/sources.list -o Dir::Etc::SourceParts=/dev/null
             -o Dir::State::Lists=$lists/lists -o APT::Sandbox::User=root"
    # shellcheck disable=SC2086  # A list of words.
    (cd "$windows" && apt-get $options update > /dev/null &&
      apt-get $options source --download-only "libzstd=$zstd_version-$zstd_revision" > /dev/null 2>&1)
    rm -rf "$lists"
  fi
  # What is wrong is fetched again by the next run.
  echo "$zstd_checksum  $archive" | sha256sum --check --quiet || { rm -f "$archive"; exit 1; }
}

# Makes what cmake/windows.cmake calls WINDOWS_ROOT: make_root MACHINE
make_root() {
  root=$windows/$1/root
  [ ! -e "$root/lib/libzstd.a" ] || return 0
  echo "Building zstd for $1 ..."
  source=$windows/$1/zstd
  mkdir -p "$source" "$root/lib" "$root/include"
  tar -xf "$archive" -C "$source" --strip-components=1
  make -s -C "$source/lib" libzstd.a ZSTD_LEGACY_SUPPORT=0 CC="$1-w64-mingw32-gcc-posix" \
    AR="$1-w64-mingw32-ar" UNAME=Linux TARGET_SYSTEM=Windows > "$windows/$1/zstd.log" 2>&1 ||
    { cat "$windows/$1/zstd.log"; exit 1; }
  for header in zstd.h zstd_errors.h zdict.h; do cp "$source/lib/$header" "$root/include"; done
  # Libraries that are headers alone, without all else that is beside them.
  for headers in CLI fmt nlohmann; do ln -sfn "/usr/include/$headers" "$root/include/$headers"; done
  cp "$source/lib/libzstd.a" "$root/lib"
}

# The C runtime's own and the libraries that every Windows has: pack MACHINE
pack() {
  build=$windows/$1/build
  name=foldapi-windows-$1
  into=$windows/$1/$name
  rm -rf "$into" "$windows/$name.zip"
  mkdir -p "$into/bin" "$into/lib" "$into/include" "$into/examples"
  cp "$build/foldapi.dll" "$build/btkf520.dll" "$into/bin"
  for example in examples/*.c; do cp "$build/$(basename "$example" .c).exe" "$into/bin"; done
  cp "$build/team.exe" "$build/trevault.exe" "$into/bin"
  cp "$build/libfoldapi.dll.a" "$build/libbtkf520.dll.a" "$into/lib"
  cp -r include/foldapi include/btkf520 "$into/include"
  cp -r examples/*.c examples/team "$into/examples"
  "$1-w64-mingw32-strip" "$into/bin/"*
  sed 's/$/\r/' docs/windows.md > "$into/README.md"
  python3 - "$windows/$1" "$name" "$windows/$name.zip" << 'EOF'
import pathlib, sys, zipfile
base, name, target = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as packed:
    for path in sorted((base / name).rglob("*")):
        packed.write(path, path.relative_to(base))
EOF
  echo "Packed build-windows/$name.zip"
}

fetch_zstd
for machine in $machines; do
  make_root "$machine"
  scripts/build.sh "build-windows/$machine/build" -DFOLDAPI_TESTS=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/windows-$machine.cmake" \
    -DWINDOWS_ROOT="$windows/$machine/root"
  pack "$machine"
done
