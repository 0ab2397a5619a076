#!/usr/bin/env python3
"""Checks that what the documents name is there: check_docs.py ROOT. Prints each miss and gives 1 if any.

A path below one of the source folders must exist; so must, somewhere in them, a file that is named
without a path, and a function that is named with its brackets, as `TVHandle::open()`: defined with
its class, or in a file that declares it. A `*` stands for anything, a `<...>` ends a path.
"""
import fnmatch
import pathlib
import re
import sys

FOLDERS = ["src", "include", "tests", "bench", "fuzz", "examples", "scripts", "docs", "python"]
CODE = [".h", ".c", ".cpp"]
PATH = re.compile(r"(?<![\w./-])((?:%s)/[\w./*-]*)" % "|".join(FOLDERS))
# Workfiles in examples end in .c too, so a C source counts with its path only.
FILE = re.compile(r"(?<![\w./<-])((?:\w+/)*[\w*-]+\.(?:h|cpp|py|sh|def))(?![\w])")
LINK = re.compile(r"""(?:\]\(|src(?:set)?=")(?!https?:)([^)"#]*)(?:#([^)"]*))?[)"]""")
BLOCK = re.compile(r"^( *)```.*?^\1```$|^<!--.*?-->$", re.MULTILINE | re.DOTALL)
SESSION = re.compile(r"^ *\w*\$ ", re.MULTILINE)
HEADING = re.compile(r"^#+ +(.*)$", re.MULTILINE)
FUNCTION = re.compile(r"`(?:(\w+)::)?(\w+)\(\)`")

# Pages that name, in headings or first cells of tables, all that parts of sources name.
LISTS = {
    "docs/errors.md": [("include/btkf520/btkf520.h", r"enum TrvsStatus \{.*?\} TrvsStatus;",
                        r"^  (TRVS_\w+) =")],
    "docs/directives.md": [("src/btkf520/configuration/configuration.cpp", r"Configuration::setters\(\).*?\};",
                            r'\{"(\w+)"'),
                           ("src/btkf520/configuration/configurationreader.cpp", r".*", r'name == "(\w+)"')],
}
ENTRY = re.compile(r"^(?:###|\|) (`[^|\n]*)", re.MULTILINE)


def incomplete(root):
    for page, parts in LISTS.items():
        there = set()
        for source, part, name in parts:
            listed = re.search(part, (root / source).read_text(), re.DOTALL)[0]
            there.update(re.findall(name, listed, re.MULTILINE))
        named = set(re.findall(r"`(\w+)`", " ".join(ENTRY.findall((root / page).read_text()))))
        yield from ("%s: %s is missing" % (page, miss) for miss in sorted(there - named))
        yield from ("%s: %s is in no source" % (page, more) for more in sorted(named - there))


def is_function(owner, name, sources):
    word = re.compile(r"\b%s\(" % name)
    if owner:
        shown = re.compile(r"\b%s::%s\b" % (owner, name))
        declared = re.compile(r"\b(class|struct) %s\b" % owner)
        return any(shown.search(text) or (declared.search(text) and word.search(text))
                   for text in sources)
    return any(word.search(text) for text in sources)


def without_sessions(text):
    """The same lines, but those of sessions and comments are empty."""
    return BLOCK.sub(lambda match: "\n" * match[0].count("\n") if SESSION.search(match[0])
                     or match[0].startswith("<!--") else match[0], text)


def leads_nowhere(document, path, heading):
    target = document.parent / path if path else document
    if not target.exists():
        return True
    return heading and heading not in (re.sub(r"[^\w -]", "", name.lower()).replace(" ", "-")
                                       for name in HEADING.findall(target.read_text()))


def misses(text, paths, sources):
    for path in PATH.findall(text):
        if not fnmatch.filter(paths, path.rstrip("./")):
            yield path
    for name in FILE.findall(text):
        if not fnmatch.filter(paths, "*/" + name) and not fnmatch.filter(paths, name):
            yield name
    for owner, name in FUNCTION.findall(text):
        if not is_function(owner, name, sources):
            yield "%s::%s()" % (owner, name) if owner else name + "()"


def main(root):
    files = [path for folder in FOLDERS for path in (root / folder).rglob("*")]
    paths = FOLDERS + [path.relative_to(root).as_posix() for path in files]
    sources = [path.read_text(errors="replace") for path in files if path.suffix in CODE]
    gaps = list(incomplete(root))
    print(*gaps, sep="\n", end="\n" if gaps else "")
    found = bool(gaps)
    for document in sorted(root.glob("*.md")) + sorted((root / "docs").glob("*.md")):
        lines = without_sessions(document.read_text()).splitlines()
        for number, line in enumerate(lines, 1):
            links = ["%s#%s" % link for link in LINK.findall(line) if leads_nowhere(document, *link)]
            for miss in links + list(misses(LINK.sub("", line), paths, sources)):
                found = True
                print("%s:%d: %s is not there" % (document.relative_to(root), number, miss))
    return found


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
