#!/usr/bin/env python3
"""Checks that what the documents name is there: check_docs.py ROOT. Prints each miss and gives 1 if any.

A path below one of the source folders must exist; so must, somewhere in them, a file that is named
without a path, and a function that is named with its brackets, as `TVHandle::open()`. A `*` stands
for anything, a `<...>` ends a path.
"""
import fnmatch
import pathlib
import re
import sys

FOLDERS = ["src", "include", "tests", "bench", "fuzz", "examples", "scripts", "docs"]
CODE = [".h", ".c", ".cpp"]
PATH = re.compile(r"(?<![\w./-])((?:%s)/[\w./*-]*)" % "|".join(FOLDERS))
# Workfiles in examples end in .c too, so a C source counts with its path only.
FILE = re.compile(r"(?<![\w./<-])((?:\w+/)*[\w*-]+\.(?:h|cpp|py|sh|def))(?![\w])")
FUNCTION = re.compile(r"`(?:(\w+)::)?(\w+)\(\)`")


def misses(text, paths, words):
    for path in PATH.findall(text):
        if not fnmatch.filter(paths, path.rstrip("./")):
            yield path
    for name in FILE.findall(text):
        if not fnmatch.filter(paths, "*/" + name) and not fnmatch.filter(paths, name):
            yield name
    for owner, name in FUNCTION.findall(text):
        if name not in words or (owner and owner not in words):
            yield "%s::%s()" % (owner, name) if owner else name + "()"


def main(root):
    files = [path for folder in FOLDERS for path in (root / folder).rglob("*")]
    paths = FOLDERS + [path.relative_to(root).as_posix() for path in files]
    sources = [path.read_text(errors="replace") for path in files if path.suffix in CODE]
    words = set(re.findall(r"\w+", "\n".join(sources)))
    found = False
    for document in sorted(root.glob("*.md")) + sorted((root / "docs").glob("*.md")):
        for number, line in enumerate(document.read_text().splitlines(), 1):
            for miss in misses(line, paths, words):
                found = True
                print("%s:%d: %s is not there" % (document.relative_to(root), number, miss))
    return found


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
