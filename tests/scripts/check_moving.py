#!/usr/bin/env python3
"""Moves projects out to git and in from RCS, and compares every file of every label and revision:
check_moving.py TREVAULT"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TREVAULT = str(pathlib.Path(sys.argv[1]).resolve())
ODD_NAMES = [b"-dash", b" blank", b'a "q" b', "grün.c".encode(), b"Gr\xfcn.c", b"it's: (x).", b"d/a b"]


class Home:
    """A user's home, and the directory of his shell."""

    def __init__(self, directory):
        self.path = pathlib.Path(directory)
        self.environment = {"HOME": directory, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "TZ": "Europe/Berlin",
                            "LOGNAME": "ann", "GIT_CONFIG_NOSYSTEM": "1"}
        self.project = None

    def run(self, *words, code=0, data=None, at=None):
        done = subprocess.run(words, cwd=at or self.project, env=self.environment, input=data, capture_output=True,
                              timeout=60)
        assert done.returncode == code, (words, done.returncode, done.stdout[-2000:], done.stderr[-2000:])
        self.said = done.stderr.decode(errors="replace")
        return done.stdout

    def trevault(self, *words, **more):
        return self.run(TREVAULT, *words, **more)

    def begin(self, name):
        self.project = self.path / name
        self.project.mkdir()
        self.trevault("project", "add", name)

    def change(self, name, text, message, at=None):
        self.trevault("lock", "--", name, at=at)
        with open(os.path.join(os.fsencode(at or self.project), os.fsencode(name)), "ab") as file:
            file.write(text)
        self.trevault("ci", "-m", message, at=at)

    def labels(self):
        return re.findall(r"^(\S.*?)  +\d+ files?", self.trevault("labels").decode(), re.MULTILINE)

    def export(self, name, *words, code=0):
        """Gives the new git repository."""
        stream = self.trevault("export", *words, code=code)
        said = self.said
        repository = self.path / name
        self.run("git", "init", "-q", "--bare", str(repository), at=self.path)
        self.run("git", "-C", str(repository), "fast-import", "--quiet", data=stream, at=self.path,
                 code=0 if code == 0 else 128)
        self.said = said
        return repository

    def git(self, repository, *words):
        return self.run("git", "-C", str(repository), *words).decode(errors="surrogateescape")


def files(top):
    """Content and executable bit by path."""
    result = {}
    for directory, _, names in os.walk(os.fsencode(top)):
        if b".trevault" in directory:
            continue
        for name in names:
            path = os.path.join(directory, name)
            with open(path, "rb") as file:
                result[os.path.relpath(path, os.fsencode(top))] = (file.read(), os.access(path, os.X_OK))
    return result


def compare(home, repository, others=()):
    """The tip and every label, by check-outs of both."""
    renamed = dict(re.findall(r"label (.*) becomes the \w+ (.*)", home.said))
    references = home.git(repository, "for-each-ref", "--format=%(refname)").split()
    for label in [None] + home.labels() + list(others):
        with tempfile.TemporaryDirectory() as ours, tempfile.TemporaryDirectory() as theirs:
            revision = ["-r", label] if label else ["-r", "trunk"]
            home.trevault("checkout", *revision, "--to", ours)
            name = renamed.get(label, label) or "main"
            found = [each for each in references if each in ("refs/tags/" + name, "refs/heads/" + name)]
            assert len(found) == 1, (label, references)
            archive = home.run("git", "-C", str(repository), "archive", "--format=tar", found[0])
            home.run("tar", "xf", "-", "-C", theirs, data=archive)
            mine, git = files(ours), files(theirs)
            assert mine == git, (label, sorted(mine), sorted(git))


def check_export(home):
    home.begin("pump")
    contents = {b"README": b"text\n", b"pump.c": b"int a;\n" * 40, b"src/valve.c": b"v\n", b"empty": b"", b"old.c": b"o\n",
                b"no end": b"no line end", b"bytes": bytes(range(256)) * 999, b"run.sh": b"#!/bin/sh\n"}
    contents.update({name: name for name in ODD_NAMES})
    for name, content in contents.items():
        path = os.path.join(os.fsencode(home.project), name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)
    os.chmod(home.project / "run.sh", 0o755)
    home.trevault("add", ".")
    home.trevault("label", "FIRST")
    home.change("pump.c", b"int b;\n", "Grün: b\n\nand more")
    home.change("src/valve.c", b"slow\n", "Close slowly")
    home.trevault("label", "REL 1")
    home.trevault("rename", "README", "LIESMICH")
    home.trevault("--yes", "remove", "old.c", "src/valve.c")
    home.change("pump.c", b"int c;\n", b"Gr\xfcn".decode(errors="surrogateescape"))
    home.trevault("label", "REL 1/2")
    home.trevault("rename", "pump.c", "pumpe.c")
    home.change("LIESMICH", b"neu\n", "Read me")
    home.trevault("label", "TIPS")
    home.trevault("label", "FIX", "-r", "REL 1", "pumpe.c", "bytes")
    fix = home.path / "fix"
    home.trevault("join", "pump", str(fix), "--follow", "FIX")
    home.change("pumpe.c", b"int fix;\n", "Fix", at=fix)
    home.change("bytes", b"\0fix", "Fix", at=fix)
    home.trevault("label", "FIXED", "pumpe.c", "bytes", at=fix)
    home.change("pumpe.c", b"int fix2;\n", "Fix again", at=fix)
    home.trevault("label", "FIX_TWO", "-r", "1.0", "pumpe.c")
    (home.path / "users").write_text("# who is who\nann = Ann Lee <ann@example.com>\n%s = A B <a@b>\n" % os.environ.get("USER", "root"))
    repository = home.export("pump.git", "--users", str(home.path / "users"))
    assert "exported 15 files, 22 revisions: " in home.said, home.said
    compare(home, repository)
    head = home.git(repository, "log", "--format=%s|%ae|%ai", "main")
    assert "\n".join(line.split("|")[0] for line in head.splitlines() if line[:4] != "Fix|") == (
        "Read me\nRename pump.c to pumpe.c\nGrün\nRename README to LIESMICH Take old.c off the project "
        "Take src/valve.c off the project\nClose slowly\nGrün: b\nFirst version"), head
    assert re.search(r"Grün: b\|a@b\|20\d\d-\S+ \S+ \+0[12]00", head), head
    assert home.git(repository, "rev-list", "--count", "main..FIX").strip() == "3", home.git(repository, "log", "--all", "--graph", "--oneline", "--decorate")

    # The same again is the same; what can't be read makes no history.
    assert home.trevault("export") == home.trevault("export")
    home.trevault("export", "-o", "../stream")
    assert (home.path / "stream").read_bytes() == home.trevault("export")
    archive = next(home.path.rglob("archives/bytes_v*"))
    content = bytearray(archive.read_bytes())
    content[len(content) // 3] ^= 0xFF
    archive.write_bytes(content)
    broken = home.export("broken.git", code=1)
    assert re.search(r"bytes: 1\.\S+ can't be read; nothing after it would be true", home.said), home.said
    assert home.git(broken, "for-each-ref") == ""


if __name__ == "__main__":
    for check in (check_export,):
        with tempfile.TemporaryDirectory() as directory:
            check(Home(str(pathlib.Path(directory).resolve())))
