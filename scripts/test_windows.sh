#!/bin/sh
# Builds for Windows and runs what was built in Wine: test_windows.sh [x86_64|i686 ...]. Both machines
# without any. Everything is below build-windows, Wine's own files as well.
#
# A machine's tests: what the DLLs need and export; rules of files that only Windows has, several
# writers and killed ones among them; tests of other systems that use nothing of theirs; the sample
# database; the examples; a day of trevault; archives and databases that this system's programs, in
# the directory build, change as well.
set -eu
cd "$(dirname "$0")/.."
source=$PWD
windows=$PWD/build-windows
machines=${*:-x86_64 i686}
programs='describe walk team archive exchange trevault'
wine_version=8.0~repack-4
# Wine's folder for 32-bit programs is put in its place for this script alone.
[ -n "${FOLDAPI_OWN_MOUNTS-}" ] || FOLDAPI_OWN_MOUNTS=1 exec unshare -m "$0" "$@"
wine_libraries=/usr/lib/x86_64-linux-gnu/wine
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='

# 32-bit programs need a folder of Wine's that only the package for 32-bit machines has.
put_wine32_in_place() {
  [ -d "$windows/wine32" ] || fetch_wine32
  mkdir -p "$wine_libraries/i386-windows"
  mount --bind "$windows/wine32" "$wine_libraries/i386-windows"
}

fetch_wine32() {
  echo "Fetching Wine's libraries for 32-bit programs ..."
  lists=$(mktemp -d)
  mkdir -p "$lists/lists/partial"
  echo 'deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian bookworm main' \
    > "$lists/sources.list"
  options="-qq -o Dir::Etc::SourceList=$lists/sources.list -o Dir::Etc::SourceParts=/dev/null
           -o Dir::State::Lists=$lists/lists -o APT::Sandbox::User=root
           -o APT::Architectures::=amd64 -o APT::Architectures::=i386"
  # shellcheck disable=SC2086  # A list of words.
  (cd "$lists" && apt-get $options update > /dev/null &&
    apt-get $options download "libwine:i386=$wine_version" > /dev/null 2>&1 && dpkg -x ./*.deb unpacked)
  mv "$lists/unpacked/usr/lib/i386-linux-gnu/wine/i386-windows" "$windows/wine32"
  rm -rf "$lists"
}

# Writes a script that runs a program as if it were one of this system: wrap MACHINE PROGRAM. Its
# lines end in LF then, and it is stopped if it hangs. A user's profile is in his home.
wrap() {
  cat > "$windows/$1/run/$2" << EOF
#!/bin/sh
export WINEPREFIX='$WINEPREFIX' WINEDEBUG='$WINEDEBUG' WINEDLLOVERRIDES='$WINEDLLOVERRIDES'
export KSTR_INI="\${KSTR_INI-\$HOME/KSTR.INI}"
files=\$(mktemp -d)
[ ! -t 0 ] || exec < /dev/null
{ timeout 300 /usr/lib/wine/wine64 '$(find "$windows/$1/build" -name "$2.exe")' "\$@" 2> "\$files/errors"
  echo \$? > "\$files/code"; } | sed 's/\r\$//'
sed 's/\r\$//' "\$files/errors" >&2
code=\$(cat "\$files/code")
rm -rf "\$files"
exit "\$code"
EOF
  chmod +x "$windows/$1/run/$2"
}

# 32-bit programs differ in how they call and in the width of numbers: tests of little else are left
# to the others.
tests_of() {
  case $1 in
    i686) echo 'windows core store api' ;;
    *) echo 'windows base core dates domain runtime store toolkit btkf520 api' ;;
  esac
}

test_machine() {
  build=$windows/$1/build
  run=$windows/$1/run
  "$source/scripts/check_dlls.py" "$1" "$build" "$source"
  mkdir -p "$run"
  for program in $programs; do wrap "$1" "$program"; done
  for dll in foldapi btkf520; do
    cp "$build/$dll.dll" "$build/tests/windows"
  done
  for test in $(tests_of "$1"); do
    echo "$1: $test"
    wrap "$1" "${test}_test"
    (cd "$build" && "$run/${test}_test" --gtest_brief=1)
  done
  echo "$1: archive example"
  tests/scripts/check_archive.sh "$run/archive"
  echo "$1: walk example"
  check_walk "$run"
  echo "$1: archives and databases of both systems"
  tests/scripts/check_exchange.sh "$native" "$run"
  echo "$1: a day of trevault"
  python3 tests/scripts/check_transcript.py "$run/trevault" tests/windows/day.txt
  if [ -e ../shared/sample/make_sample.py ]; then
    echo "$1: sample walk"
    tests/scripts/check_sample.sh python3 ../shared/sample/make_sample.py "$run/describe"
  fi
}

# The team's day and what the C example tells of it, as on other systems.
check_walk() {
  dir=$(mktemp -d)
  "$1/team" examples/team/files "$dir/db" > /dev/null
  for roots in '' 'V:\pub V:\prv'; do
    # shellcheck disable=SC2086  # Two words, or none: the profile knows the same roots.
    { sed 's/\r$//' "$dir/db/day.txt"; echo; KSTR_INI="$dir/db/KSTR.INI" "$1/walk" $roots; } > "$dir/out"
    diff -u tests/scripts/walk.expected "$dir/out"
  done
  rm -rf "$dir"
}

scripts/build.sh build exchange team trevault walk
native=$windows/native
mkdir -p "$native"
for program in tests/exchange team trevault walk; do ln -sf "$source/build/$program" "$native"; done
for machine in $machines; do
  scripts/build_windows.sh "$machine"
  # shellcheck disable=SC2046,SC2086  # Lists of words.
  scripts/build.sh "build-windows/$machine/build" -DFOLDAPI_TESTS=ON \
    $programs $(printf '%s_test ' $(tests_of "$machine"))
  [ "$machine" != i686 ] || put_wine32_in_place
done
for machine in $machines; do
  export WINEPREFIX="$windows/$machine/wine"
  /usr/lib/wine/wineserver -k -w 2> /dev/null || true  # One of an earlier run sees other mounts.
  if [ ! -d "$WINEPREFIX" ]; then
    /usr/lib/wine/wine64 wineboot -i > /dev/null 2>&1
    [ "$machine" != i686 ] || ln -s "$wine_libraries/i386-windows"/* /usr/i686-w64-mingw32/lib/zlib1.dll \
      "$WINEPREFIX/drive_c/windows/syswow64"
  fi
  # The tests' own files are in memory: they wait for the disk else, again and again.
  export TMPDIR="$windows/memory"
  for place in "$TMPDIR" "$WINEPREFIX/drive_c/users/$(id -un)/Temp"; do
    mkdir -p "$place"
    mount -t tmpfs -o mode=755 tmpfs "$place"  # Whom a profile trusts depends on it.
  done
  test_machine "$machine"
done
echo 'All tests passed.'
