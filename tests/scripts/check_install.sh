#!/bin/sh
# Installs into an empty directory, and builds and runs clients there as others do:
# check_install.sh BUILD_DIR TEAM WALK. TEAM writes the database that WALK, the build's own, and the
# clients print.
set -eu
unset LD_LIBRARY_PATH PKG_CONFIG_PATH DESTDIR
source=$(cd "$(dirname "$0")/../.." && pwd)
build=$1 team=$2 walk=$3
. "$source/tests/scripts/expect.sh"
fail() { echo "$1" >&2; exit 1; }

cmake --install "$build" --prefix "$dir/usr" > /dev/null
usr=$dir/usr
DESTDIR=$dir/staged cmake --install "$build" --prefix /opt/foldapi > /dev/null
(cd "$usr" && find . | sort) > "$dir/files"
(cd "$dir/staged/opt/foldapi" && find . | sort) | diff "$dir/files" -
grep -qx 'prefix=/opt/foldapi' "$dir"/staged/opt/foldapi/lib*/pkgconfig/foldapi.pc
[ "$("$usr/bin/trevault" --version)" = "trevault $(pkg-config --modversion "$usr"/lib*/pkgconfig/foldapi.pc)" ]
head -1 "$source/debian/changelog" | grep -qF "($("$usr/bin/trevault" --version | cut -d ' ' -f 2))" ||
  fail "debian/changelog doesn't begin with this version"
mkdir "$dir/served"
HOME=$dir/served KSTR_INI=$dir/served/KSTR.INI "$usr/bin/trevault" -q project add Pump "$dir/served"
HOME=$dir/served KSTR_INI=$dir/served/KSTR.INI "$usr/bin/trevault" serve --port 0 > "$dir/line" &
server=$!
for _ in 1 2 3 4 5 6 7 8 9 10; do [ -s "$dir/line" ] || sleep 1; done
kill "$server"
grep -q '^serving http://127.0.0.1:' "$dir/line" || fail "the installed program doesn't serve"
completes=$(PATH=$usr/bin:$PATH bash -c ". '$usr/share/bash-completion/completions/trevault'
  COMP_WORDS=(trevault checkin --unch) COMP_CWORD=2; _trevault; echo \"\${COMPREPLY[*]}\"")
[ "$completes" = --unchanged ] || fail "bash completes --unch as $completes"
for name in foldapi btkf520; do
  readelf -dW "$usr"/lib*/lib$name.so | grep -q "SONAME.*\[lib$name\.so\.1\]" || fail "lib$name has no soname"
done
"$source/tests/scripts/check_hardening.sh" "$usr"/lib*/libfoldapi.so "$usr"/lib*/libbtkf520.so

"$team" "$source/examples/team/files" "$dir/db" > /dev/null
export KSTR_INI="$dir/db/KSTR.INI"
"$walk" > "$dir/walk.expected"
grep '── Project: ' "$dir/walk.expected" | sed 's/.*: //' > "$dir/client.expected"
[ -s "$dir/client.expected" ]

PKG_CONFIG_PATH=$(echo "$usr"/lib*/pkgconfig)
export PKG_CONFIG_PATH
libraries=$(pkg-config --variable=libdir foldapi)
mkdir "$dir/by_pkg_config"
# shellcheck disable=SC2046  # Lists of words.
{
  cc -std=c99 "$source/examples/walk.c" -o "$dir/by_pkg_config/walk" \
    $(pkg-config --cflags --libs foldapi) "-Wl,-rpath,$libraries"
  c++ "$source/tests/install/client.cpp" -o "$dir/by_pkg_config/client" \
    $(pkg-config --cflags --libs foldapi btkf520) "-Wl,-rpath,$libraries"
}
unset PKG_CONFIG_PATH

cmake -S "$source/tests/install" -B "$dir/by_cmake" -DCMAKE_PREFIX_PATH="$usr" \
  -DEXAMPLES="$source/examples" > "$dir/log" && cmake --build "$dir/by_cmake" >> "$dir/log" ||
  { cat "$dir/log"; exit 1; }

for way in by_pkg_config by_cmake; do
  ldd "$dir/$way/walk" | grep -q "libfoldapi.so.1 => $usr" || fail "$way: not the library installed"
  "$dir/$way/walk" | diff "$dir/walk.expected" - || fail "$way: walk prints something else"
  "$dir/$way/client" | iconv -f latin1 -t utf-8 | diff "$dir/client.expected" - ||
    fail "$way: client prints something else"
done

# The page about the classes has a client that is built with the library's source. Its lines are
# taken as they stand; of the library, which would be the same again, the build has what is linked.
page=$source/docs/classes.md own=$dir/by_source
mkdir "$own"
ln -s "$source" "$own/foldapi"
sed -n '/^<!-- file: folders.cpp -->$/,/^```$/p' "$page" | sed '1,2d;$d' > "$own/folders.cpp"
{
  echo 'cmake_minimum_required(VERSION 3.25)'
  echo 'project(own LANGUAGES C CXX)'
  sed -n '/^```cmake$/,/^```$/p' "$page" | sed '1d;$d'
} > "$own/CMakeLists.txt"
cmake -S "$own" -B "$own/build" -G Ninja > "$dir/log" || { cat "$dir/log"; exit 1; }
cp "$build"/lib*.a "$own/build/foldapi"
cd "$own/build"
ninja -t commands folders | grep 'folders\.cpp\.o' | sh
expect 1 ./folders "$dir/public" "$dir/private" Pump Trials
grep -qx "Pump: no such project" "$dir/err" || fail "by_source: the client of the classes says something else"
