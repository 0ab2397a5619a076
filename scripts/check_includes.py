#!/usr/bin/env python3
"""Checks who includes whom: check_includes.py SRC_DIR. Prints each violation and gives 1 if any.

The layers of the library stand on one another, so that each can be read, tested and changed without
those above it. The engine and the profile library are products of their own; what they share with
the library stands below all. Everything that asks the operating system about files, time, processes
or users stands in a platform_*.cpp.
"""
import pathlib
import re
import sys

# The folders of the library from the bottom up: each may include the headers of those before it.
LAYERS = ["dates", "runtime", "base", "core", "domain", "toolkit", "store"]
# Each folder, and whose headers it may include besides its own.
MAY_INCLUDE = {
    **{layer: LAYERS[:place] for place, layer in enumerate(LAYERS)},
    "api": LAYERS,
    "cli": LAYERS,
"kstrinin": [],
    "btkf520": ["dates", "btkf520/archive"],
    "btkf520/archive": ["dates", "btkf520"],
    "btkf520/configuration": ["dates", "btkf520"],
    "btkf520/operations": ["dates", "btkf520", "btkf520/archive", "btkf520/configuration"],
    "btkf520/interface": ["dates", "btkf520/archive", "btkf520/configuration",
                          "btkf520/operations"],
}
# Single headers: the ways between the products.
MAY_INCLUDE_TOO = {
    "runtime": ["kstrinin/kstrinin.h"],
    "store": ["btkf520/btkf520.h", "kstrinin/kstrinin.h"],
    "toolkit": ["btkf520/btkf520.h"],
    "api": ["foldapi/foldapi.h"],
    **{"btkf520/" + part: ["btkf520/btkf520.h"]
       for part in ("archive", "configuration", "operations", "interface")},
}
PLATFORM_FOLDERS = ["runtime", "btkf520", "kstrinin"]
PLATFORM_ONLY = re.compile(
    r"sys/.*|(fcntl|unistd|dirent|pwd|grp|time|utime|signal|spawn|poll|sched|pthread|dlfcn|windows)\.h"
    r"|filesystem|fstream|ctime|chrono|csignal|thread")
INCLUDE = re.compile(r'\s*#\s*include\s*(["<])([^">]+)')


def violation(folder, name, mark, header):
    """Says what is wrong with an include, or gives None."""
    if mark == "<":
        is_platform = folder in PLATFORM_FOLDERS and re.fullmatch(r"platform_\w+\.cpp", name)
        if PLATFORM_ONLY.fullmatch(header) and not is_platform:
            return "only a platform_*.cpp includes it"
        return None
    if "/" not in header:
        return "has no folder"
    if header in MAY_INCLUDE_TOO.get(folder, []):
        return None
    if header.rpartition("/")[0] not in [folder] + MAY_INCLUDE[folder]:
        return "not a header that %s may know" % folder
    return None


def check(src):
    found = []
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        where = path.relative_to(src)
        folder = where.parent.as_posix()
        if folder not in MAY_INCLUDE:
            found.append("%s: stands in no folder that is known" % where)
            continue
        for number, line in enumerate(path.read_text(encoding="latin-1").splitlines(), 1):
            match = INCLUDE.match(line)
            why = match and violation(folder, path.name, match[1], match[2])
            if why:
                found.append("%s:%d: %s: %s" % (where, number, match[2], why))
    return found


if __name__ == "__main__":
    violations = check(pathlib.Path(sys.argv[1]))
    print("\n".join(violations), end="\n" if violations else "")
    sys.exit(1 if violations else 0)
