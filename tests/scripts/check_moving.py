#!/usr/bin/env python3
"""Moves projects out to git and in from RCS, and compares every file of every label and revision:
check_moving.py TREVAULT"""
import datetime
import json
import os
import pathlib
import random
import re
import shutil
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


class Rcs:
    """RCS files in a directory, written by RCS itself."""

    def __init__(self, home, directory):
        self.home, self.directory = home, directory
        directory.mkdir(parents=True)
        self.moment = datetime.datetime(1993, 3, 1, 12, 0, 0)

    def run(self, *words, data=None):
        return self.home.run(*words, at=self.directory, data=data)

    def check_in(self, name, content, number, message, author="ann", mode=None):
        if not (self.directory / (name + ",v")).exists():
            self.run("rcs", "-q", "-i", "-U", "-t-about", *(["-k" + mode] if mode else []), name + ",v")
        self.moment += datetime.timedelta(hours=7, minutes=3, seconds=2)
        (self.directory / name).write_bytes(content)
        self.run("ci", "-q", "-f", "-r" + number, "-d" + self.moment.strftime("%Y-%m-%d %H:%M:%SZ"), "-w" + author,
                 "-m" + message, name, name + ",v")

    def history(self, file, every):
        """Of each revision: date, author, message and, of some, the content."""
        text = self.run("rlog", "-zLT", file).decode(errors="surrogateescape")
        found = {}
        for part in re.split(r"-{28}\n", text)[1:]:
            number, date, author = re.match(r"revision ([\d.]+).*\ndate: (\S+ \d\d:\d\d:\d\d)\S*;  author: ([^;]+);", part).groups()
            message = re.sub(r"={77}\n.*", "", part.split("\n", 2)[2], flags=re.S)
            message = re.sub(r"^branches: .*\n", "", message).rstrip("\n")
            wants = int(number.split(".")[-1]) % every == 0
            found[number] = (date, author, message, self.run("co", "-q", "-p", "-r" + number, file) if wants else None)
        return found


def edited(choice, lines):
    lines = list(lines)
    for _ in range(choice.randrange(1, 4)):
        place = choice.randrange(len(lines) + 1)
        lines[place:place + choice.randrange(3)] = [b"line @%d @@\r\n" % choice.randrange(99) for _ in range(choice.randrange(3))]
    return lines


def fill_motor(rcs, choice):
    lines = [b"line %d\n" % i for i in range(30)]
    for i in range(1, 14):
        lines = edited(choice, lines)
        end = b"" if i % 3 else b"no line end"
        rcs.check_in("motor.c", b"".join(lines) + end, "1.%d" % i, "Change %d\n\nmore: @ and \"quotes\"" % i, ["ann", "bob"][i % 2])
    for i, number in enumerate(["1.3.1.1", "1.3.1.2", "1.3.4.1", "1.3.1.2.1.1", "1.3.4.2", "1.13.2.7", "2.1", "3.9"]):
        rcs.check_in("motor.c", b"".join(edited(choice, lines)), number, "Grün %d" % i, "carla")
    for symbol in ["REL_1:1.5", "REL_2:3.9", "FIX:1.3.1", "LATER:1.3.4", "a+b:1.1", "GONE:1.99", "CVS:1.3.0.4", "EMPTY:1.2.0.2"]:
        rcs.run("rcs", "-q", "-n" + symbol, "motor.c,v")
    rcs.run("rcs", "-q", "-sRel:1.5", "-aann,bob", "motor.c,v")


def fill_rcs(home, top):
    rcs = Rcs(home, top / "RCS")
    choice = random.Random(11)
    fill_motor(rcs, choice)
    for i in range(1, 201):
        rcs.check_in("long", b"".join(b"%d\n" % (j if j % 7 else j * i) for j in range(i)), "1.%d" % i, "x")
    for number, content in [("1.1", b""), ("1.2", b"\n"), ("1.3", b"@"), ("1.4", b""), ("1.1.1.1", b"\n\n@@")]:
        rcs.check_in("empty", content, number, ".")
    for number in ("1.1", "1.2", "1.3"):
        rcs.check_in("bytes", choice.randbytes(5000) + b"$Revision$\n", number, ".", mode="b")
    for number in ("1.1", "1.2"):
        rcs.check_in("keys.c", b"/* $Revision: 9.9 $ $Author$ */\n" + number.encode(), number, ".")
    os.chmod(rcs.directory / "keys.c,v", 0o555)
    for i, name in enumerate(ODD_NAMES):
        place = os.path.join(os.fsencode(top), b"below", name + b",v")
        os.makedirs(os.path.dirname(place), exist_ok=True)
        shutil.copy(rcs.directory / "empty,v", place)
    return rcs


def check_import(home):
    top = home.path / "old"
    rcs = fill_rcs(home, top)
    home.begin("station")
    said = home.trevault("import-rcs", "-n", str(top))
    assert b"would import motor.c: 21 revisions, 4 branches, 7 labels\n  branch 1.3.4 became 1.3.2\n" in said, said
    assert b"\n12 files\n" in said and home.trevault("list") == b"", said
    said = home.trevault("import-rcs", str(top))
    assert said.endswith(b"12 files imported, 266 of 266 revisions compared\n"), said
    assert not (home.project / ".trevault" / "import").exists() and not list(home.path.rglob(".import-*"))
    for name, number in [("motor.c", 21), ("long", 200), ("empty", 5), ("bytes", 3), ("keys.c", 2)]:
        ours = {item["revision"]: item for item in json.loads(home.trevault("log", "--json", name))["items"]}
        theirs = rcs.history(name + ",v", 9 if name == "long" else 1)
        assert len(ours) == len(theirs) == number, (name, sorted(ours), sorted(theirs))
        for old, (date, author, message, content) in theirs.items():
            new = re.sub(r"^1\.13\.2\.", "1.13.1.", re.sub(r"^1\.3\.4\.", "1.3.2.", old))
            item = ours[new]
            assert (item["time"].replace("T", " "), item["author"]) == (date, author), (old, item, date, author)
            assert item["message"] == message or name != "motor.c", (old, item, message)
            assert content is None or home.trevault("cat", "-r", new, name) == content, (name, old)
    labels = {label: item["revision"] for item in json.loads(home.trevault("log", "--json", "motor.c"))["items"]
              for label in item["labels"]}
    assert labels == {"REL_1": "1.5", "REL_2": "3.9", "FIX": "1.3.1.2", "LATER": "1.3.2.2", "CVS": "1.3.2.2", "EMPTY": "1.2",
                      "a_b": "1.1"}, labels
    home.trevault("checkout")
    assert os.access(home.project / "keys.c", os.X_OK) and not os.access(home.project / "long", os.X_OK)
    home.change("motor.c", b"more\n", "It goes on")
    assert b"12 files skipped" in home.trevault("import-rcs", str(top))
    compare(home, home.export("station.git"))
    assert home.git(home.path / "station.git", "log", "-1", "--format=%an %ad", "--date=iso", "REL_1").startswith("bob 1993-03-0")


def check_damage(home):
    """Each of many damaged files gives one line, or is imported as RCS understands it; and nothing else happens."""
    rcs = Rcs(home, home.path / "old")
    fill_motor(rcs, random.Random(3))
    rcs.check_in("other", b"text", "1.1", ".")
    whole = (rcs.directory / "motor.c,v").read_bytes()
    damaged = home.path / "damaged"
    damaged.mkdir()
    choice = random.Random(5)
    for i in range(300):
        content = bytearray(whole)
        place = choice.randrange(len(content))
        cut = place + choice.randrange(1, 40)
        content[place:cut] = choice.choice([b"", choice.randbytes(2), content[:30], b"1.3", b"@", b";", b"d1 9999999999\n", b"\0"])
        (damaged / ("%03d,v" % i)).write_bytes(content if i % 10 else content[:place])
    home.begin("station")
    said = home.trevault("import-rcs", str(damaged), code=1).decode(errors="replace")
    problems = home.said.splitlines()
    assert all(re.match(r"trevault: \S*/\d{3},v: (not an RCS file \(line \d+\)|damaged: |the message of |has no rev|not a n)", each)
               for each in problems[:-1]), home.said
    imported = re.findall(r"^imported (\d+): ", said, re.MULTILINE)
    assert len(imported) + len(problems) - 1 == 300 and len(imported) > 10, (len(imported), len(problems))
    places = [each.name for each in home.path.rglob("archives/*")]
    assert sorted(each[:3] for each in places) == sorted(imported) == home.trevault("list").decode().split()
    assert not (home.project / ".trevault" / "import").exists()
    for name in imported:
        heads = home.trevault("cat", "-r", "tip", name)
        theirs = subprocess.run(["co", "-q", "-p", str(damaged / (name + ",v"))], capture_output=True)
        assert theirs.returncode != 0 or theirs.stdout == heads, name
    # What stands in the way stays as it is.
    home.trevault("--yes", "remove", imported[0])
    home.trevault("import-rcs", str(damaged / (imported[0] + ",v")))
    home.trevault("--yes", "remove", imported[0])
    other = str(damaged / (imported[0] + ",v"))
    shutil.copy(rcs.directory / "other,v", other)
    home.trevault("import-rcs", other, code=1)
    assert "there is another archive" in home.said, home.said


if __name__ == "__main__":
    for check in (check_export, check_import, check_damage):
        with tempfile.TemporaryDirectory() as directory:
            check(Home(str(pathlib.Path(directory).resolve())))
