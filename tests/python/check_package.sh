#!/bin/sh
# The package as its checkers see it, and as pip installs it from its source distribution, without
# network: check_package.sh BUILD_DIR PYTHON. 77, skipped, without the tools of setup.sh test.
set -eu
build=$1 python=$2
source=$(cd "$(dirname "$0")/../.." && pwd)
for module in mypy flake8 pip venv wheel; do
  "$python" -c "import $module" 2> /dev/null || { echo "no $module"; exit 77; }
done
. "$source/tests/scripts/expect.sh"

"$python" -m mypy --strict --cache-dir "$dir/mypy" "$build/python/trevault"
"$python" -m flake8 --max-line-length 100 "$source/python" "$source/tests/python"
# What a client in a checked program sees: known types, and mistakes found.
cat > "$dir/client.py" << 'END'
import trevault

with trevault.open() as db:
    numbers: list[str] = [a.tip.number for p in db.projects for a in p.archives]
    wrong: int = db.projects["Pump"].archives["pump.c"].check_in(message="x")
END
expect 1 env MYPYPATH="$build/python" "$python" -m mypy --strict --cache-dir "$dir/mypy" "$dir/client.py"
grep -q 'client.py:5: .*expression has type "str", variable has type "int"' "$dir/out"
grep -q '^Found 1 error in 1 file' "$dir/out"

cp -r "$source/python" "$dir/python"
cd "$dir/python"
FOLDAPI_INCLUDE=$source/include "$python" -W ignore setup.py -q sdist --dist-dir "$dir/made" 2> "$dir/err"
"$python" -m venv --system-site-packages --without-pip "$dir/venv"
cd "$dir"
FOLDAPI_LIBRARIES=$build "$python" -m pip --python "$dir/venv/bin/python" install --no-index \
  --no-build-isolation --quiet --disable-pip-version-check "$dir"/made/trevault-*.tar.gz > "$dir/out" 2>&1 ||
  { cat "$dir/out"; exit 1; }
version=$("$build/trevault" --version | cut -d ' ' -f 2)
cat > "$dir/installed.py" << END
import importlib.metadata, trevault
assert importlib.metadata.version("trevault") == trevault.__version__ == "$version"
assert trevault.__file__.startswith("$dir/venv")
with trevault.open("$dir/pub", "$dir/prv", create=True) as db:
    assert not db.projects
END
KSTR_INI=$dir/KSTR.INI "$dir/venv/bin/python" "$dir/installed.py"
