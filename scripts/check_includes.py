#!/usr/bin/env python3
"""Checks who includes whom: check_includes.py SRC_DIR. Prints each violation and gives 1 if any.

The layers of the library stand on one another, so that each can be read, tested and changed without
those above it. The engine and the profile library are products of their own; what they share with
the library stands below all. Everything that asks the operating system about files, time, processes
or users stands in os/*_posix.cpp and os/*_windows.cpp.
"""
import pathlib
import re
import sys

# The folders of the library from the bottom up: each may include the headers of those before it.
LAYERS = ["dates", "runtime", "base", "core", "domain", "toolkit", "store"]
# Each folder, and whose headers it may include besides its own.
MAY_INCLUDE = {
    **{layer: LAYERS[:place] for place, layer in enumerate(LAYERS)},
    "os": [],
    "archivefile": ["os"],
    "runtime": ["dates", "os"],
    "api": LAYERS,
    **{"cli" + part: ["os", "cli", "cli/text", "cli/terminal", "cli/local", "cli/database",
                      "cli/archives", "cli/moving", "cli/commands"][:known] + more
       for part, known, more in (("/text", 1, []), ("/terminal", 3, []), ("/database", 3, LAYERS),
                                 ("/archives", 3, []), ("/pictures", 3, ["cli/archives"]),
                                 ("/local", 7, ["dates"]), ("/moving", 8, ["dates"]),
                                 ("/commands", 9, LAYERS + ["cli/pictures", "http", "pages"]),
                                 ("", 9, ["runtime"]))},
    "pages": ["os", "cli", "cli/text", "cli/database", "cli/archives", "cli/local",
              "cli/pictures"],
    "http": ["os"],
    "kstrinin": ["os"],
    "btkf520/archive": ["archivefile", "dates", "os"],
    "btkf520/configuration": ["dates", "os"],
    "btkf520/operations": ["dates", "os", "btkf520/archive", "btkf520/configuration"],
    "btkf520/interface": ["dates", "os", "btkf520/archive", "btkf520/configuration",
                          "btkf520/operations"],
}
# Single headers: the ways between the products, and what else must ask the system itself.
MAY_INCLUDE_TOO = {
    "base": ["os/clock.h", "os/file.h"],
    "runtime": ["kstrinin/kstrinin.h"],
    "domain": ["btkf520/btkf520.h", "os/fingerprint.h"],
    "store": ["btkf520/btkf520.h", "kstrinin/kstrinin.h", "os/clock.h", "os/environment.h",
              "os/file.h", "os/program.h"],
    "toolkit": ["archivefile/parts.h", "btkf520/btkf520.h", "os/clock.h", "os/file.h",
                "os/fingerprint.h"],
    "api": ["foldapi/foldapi.h"],
    "cli": ["foldapi/foldapi.h"],
    **{"cli/" + part: ["btkf520/btkf520.h"]
       for part in ("archives", "database", "moving", "commands")},
    "cli/local": ["archivefile/checksum.h", "btkf520/btkf520.h"],
    **{"btkf520/" + part: ["btkf520/btkf520.h"]
       for part in ("archive", "configuration", "operations", "interface")},
}
PLATFORM_FILE = re.compile(r"os/(\w+_(posix|windows)\.(cpp|h)|parallel\.cpp)")
PLATFORM_ONLY = re.compile(
    r"sys/.*|(fcntl|unistd|dirent|pwd|grp|time|utime|signal|spawn|poll|sched|pthread|dlfcn|windows)\.h"
    r"|filesystem|fstream|ctime|chrono|csignal|thread")
INCLUDE = re.compile(r'\s*#\s*include\s*(["<])([^">]+)')


def violation(folder, name, mark, header):
    """Says what is wrong with an include, or gives None."""
    if mark == "<":
        if PLATFORM_ONLY.fullmatch(header) and not PLATFORM_FILE.fullmatch(folder + "/" + name):
            return "only a system's own files in os include it"
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
