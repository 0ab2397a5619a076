#!/usr/bin/env python3
"""Compares what read_archive.py reads with what a client checked in: read_archive_test.py LIBRARY.

The client works for a while on a few archives. After each change the file is read, and once more as it
would be had its new part been torn: that must be the archive before the change, for the library too,
which takes the next change there now and then. With a flipped bit it is damaged for both, or what it was. Leaves with 77 where the modules are not installed.
"""
import collections
import ctypes
import os
import pathlib
import random
import sys
import tempfile

sys.dont_write_bytecode = True
try:
    import read_archive
except ImportError as missing:
    print(missing)
    sys.exit(77)

KEEP_LOCK, READ_ONLY, OLDER, MOVE, UNCHANGED = 1, 2, 8, 0x10, 0x80
CHECK_LOCKS = 0x10
CONFIGURATION = "USERID = ENVIRONMENT READ_ARCHIVE_USER\nMULTILOCK = YES\n"
done = collections.Counter()


def packed(time):
    """The packed form of "2026-11-21 04:05:46"."""
    year, month, day, hour, minute, second = map(int, time.replace("-", " ").replace(":", " ").split())
    return (year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 | second // 2


def numbers(text):
    return tuple(int(component) for component in text.split(b"."))


class Client:
    def __init__(self, library, directory, seed, size):
        self.library, self.random = library, random.Random(seed)
        self.archive, self.workfile = directory / f"a{seed}", directory / "work.c"
        self.checked_in = {}
        os.environ["READ_ARCHIVE_USER"] = "ann"
        configuration = directory / "configuration"
        configuration.write_text(CONFIGURATION)
        assert library.TrvsQueryConfiguration(bytes(configuration), 0, 0, 8) == 0
        assert library.TrvsCreateArchive(self.path(), bytes(self.workfile), b"", None, 0, 0) == 0
        self.call("SetAttributes", 0, CHECK_LOCKS)
        self.content = self.random.randbytes(size)

    def path(self):
        return bytes(self.archive)

    def call(self, name, *arguments):
        return getattr(self.library, "Trvs" + name)(-1, self.path(), *arguments)

    def fetch(self, name, *arguments):
        buffer = ctypes.create_string_buffer(1 << 18)
        status = self.call(name, *arguments, buffer, len(buffer))
        assert status in (0, 20), (name, status)
        return buffer.raw.rstrip(b"\0") + bytes(9)  # As many as end any list.

    def texts(self, name, width, *arguments):
        """A list as records of `width` texts, up to the empty one."""
        texts = iter(self.fetch(name, *arguments).split(b"\0"))
        records = []
        while first := next(texts):
            records.append((first, *(next(texts) for _ in range(width - 1))))
        return records

    def said(self):
        """What the library says, in the words of read()."""
        attributes = ctypes.c_uint32()
        assert self.call("GetAttributes", ctypes.byref(attributes)) == 0
        contents = self.texts("ListContents", 5, None) if self.checked_in else []
        text = lambda revision: self.fetch("GetDescription", revision).split(b"\0")[0]
        return dict(
            contents={numbers(r[0]): self.checked_in[r[0]] for r in contents},
            told=[(numbers(n), int(size), int(check, 16), packed(time.decode()), author, text(n))
                  for n, size, check, time, author in contents],
            locks=[(numbers(n), user, packed(time.decode()), note)
                   for n, user, time, note in self.texts("ListLocks", 4)],
            labels={label: numbers(at) for label, at in self.texts("ListLabels", 2)},
            access=[user for user, in self.texts("ListAccess", 1)],
            owner=self.fetch("GetOwner").split(b"\0")[0], description=text(None),
            attributes=attributes.value)

    def change(self):
        """Asks for a change, which may be refused."""
        pick, revisions = self.random, sorted(self.checked_in)
        at = pick.choice(revisions) if revisions else None
        os.environ["READ_ARCHIVE_USER"] = pick.choice(("ann", "bob"))
        some = pick.randbytes(pick.choice((3, 40, 3000))).hex().encode()
        what = "Put" if at is None else pick.choice(
            ("Put", "Put", "Put", "Lock", "Unlock", "Label", "Label", "Move", "Text", "Change",
             "Attributes", "Access", "Delete"))
        if what == "Put":
            place = pick.randrange(len(self.content))
            inserted = pick.randbytes(pick.randrange(60))
            self.content = self.content[:place] + inserted + self.content[place + 9:]
            content = b"" if pick.random() < 0.05 else self.content or b"?"
            self.workfile.write_bytes(content)
            self.workfile.touch()
            before = {n for n, in self.texts("ListRevisions", 1, None)} if at else set()
            both = self.path() + b"(" + bytes(self.workfile) + b")"
            parent = pick.choice((None, None, at))
            if self.library.TrvsPutRevision(-1, 0, both, 0, parent, None, None, some, None, None, 0,
                                            READ_ONLY | OLDER | UNCHANGED) == 0:
                new, = {n for n, in self.texts("ListRevisions", 1, None)} - before
                self.checked_in[new] = content
        elif what == "Lock":
            self.call("LockWithNote", at, None, some[:200])
        elif what == "Unlock":
            self.call("UnLockRevision", at, None)
        elif what in ("Label", "Move"):
            label = b"L" + some[:250] if what == "Label" else b"L"
            self.call("SetLabel", label, at, MOVE | pick.randrange(2))
        elif what == "Text":
            self.call("SetDescription", None, some)
        elif what == "Change":
            self.call("SetDescription", at, some)
        elif what == "Attributes":
            self.call("SetAttributes", pick.randrange(4) * 8 & 0x29, 1)
        elif what == "Access":
            users = [user for user, in self.texts("ListAccess", 1)]
            self.call("AddAccess", b"bob" if b"ann" in users else b"ann")
        elif pick.random() < 0.3 and self.call("DeleteRevisions", at) == 0:
            del self.checked_in[at]


def read(data):
    archive = read_archive.Archive(data)
    revisions = archive.revisions.items()
    return dict(
        contents=archive.contents(),
        told=[(n, r["length"], r["checksum"], r["workfile_time"], r["author"], r["change"])
              for n, r in revisions],
        locks=[(n, *lock) for n, r in revisions for lock in r["locks"]],
        labels=archive.labels, access=archive.access, owner=archive.owner,
        description=archive.description, attributes=archive.attributes)


def tear(pick, old, new):
    """The file as it may be if the part after `old` was not written to its end."""
    size = len(new) - len(old)
    start = len(old) + pick.choice((0, 1, 11, 12, size // 2, size - 78, size - 1, pick.randrange(size)))
    if size <= 4096 and pick.random() < 0.5:  # A lost sector, which only a part of one write can have.
        sector = start // 512 * 512
        begin, end = max(sector, len(old)), min(sector + 512, len(new))
        return new[:begin] + bytes(end - begin) + new[end:] * pick.randrange(2)
    return new[:start]


def flip(pick, old, new):
    """The file with a damaged bit after `old`, and still something in each sector of the part."""
    while True:
        place = pick.randrange(len(old), len(new))
        flipped = new[:place] + bytes([new[place] ^ 1 << pick.randrange(8)]) + new[place + 1:]
        sector = place // 512 * 512
        if any(flipped[max(sector, len(old)):min(sector + 512, len(new) - 9)]) or place >= len(new) - 9:
            return flipped


def check_flipped(client, flipped, said):
    """Neither reader takes damage for a state before the change."""
    try:
        found = read(flipped)
    except read_archive.Damaged:
        found = None
    whole = client.archive.read_bytes()
    client.archive.write_bytes(flipped)
    status = client.call("VerifyArchive", None, 0)
    assert status == (27 if found is None else 0), status
    assert found is None or found == said == client.said()
    client.archive.write_bytes(whole)
    done["damaged"] += found is None


def work(client, changes):
    old = client.archive.read_bytes()
    left = old  # What the archive's file was left as: `old`, or that and a torn part.
    before, contents = client.said(), dict(client.checked_in)
    for _ in range(changes):
        client.change()
        new, said = client.archive.read_bytes(), client.said()
        assert read(new) == said, "not what the library says"
        if new == left:
            continue
        if new == old:  # A change of nothing, which cuts off what is torn.
            left = old
            continue
        added = new.startswith(old)
        done["wide" if len(new) - len(old) > 4096 else "narrow"] += added
        done["anew"] += not added
        if added:
            check_flipped(client, flip(client.random, old, new), said)
        for _ in range(4 * added):
            torn = tear(client.random, old, new)
            if torn == new:
                continue
            assert read(torn) == before, "not what was before the torn part"
            done["torn"] += 1
            if client.random.random() < 0.1:
                client.archive.write_bytes(torn)
                client.checked_in = dict(contents)
                assert client.said() == before, "not the same for the library"
                done["mended"] += 1
                left = torn
                break
        else:
            old = left = new
            before, contents = said, dict(client.checked_in)


def main():
    library = ctypes.CDLL(sys.argv[1])
    library.TrvsInit(b"read_archive")
    for seed in range(1, 9):
        with tempfile.TemporaryDirectory() as directory:
            print("seed", seed, flush=True)
            work(Client(library, pathlib.Path(directory), seed, 1200000 if seed == 8 else 3000), 50)
    print(dict(done))
    assert all(done[what] for what in ("narrow", "wide", "anew", "torn", "mended", "damaged")), "a case is missing"


main()
