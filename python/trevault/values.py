"""What an archive tells: plain values, true when they were asked for, that outlive the database."""
from __future__ import annotations

import dataclasses
import datetime
import enum
from typing import List, Optional, Tuple

from ._native import lib
from .errors import Status


class ArchiveStatus(enum.IntFlag):
    """What the database knows of an archive. Without READABLE it knows nothing."""

    READABLE = lib.FOLDAPI_STATUS_READABLE
    LOCKED_BY_OTHER = lib.FOLDAPI_STATUS_LOCKED_BY_OTHER
    LOCKED_EXCLUSIVE = lib.FOLDAPI_STATUS_LOCKED_EXCLUSIVE
    LOCKED_MULTIPLE = lib.FOLDAPI_STATUS_LOCKED_MULTIPLE
    HAS_CHILDREN = lib.FOLDAPI_STATUS_HAS_CHILDREN
    LOCKED_BY_ME = lib.FOLDAPI_STATUS_LOCKED_BY_ME

    __str__ = enum.Flag.__str__  # The names, not the number.

    @property
    def readable(self) -> bool:
        """The archive file could be read."""
        return bool(self & ArchiveStatus.READABLE)

    @property
    def locked_by_me(self) -> bool:
        """The present user holds a lock."""
        return bool(self & ArchiveStatus.LOCKED_BY_ME)

    @property
    def locked_by_other(self) -> bool:
        """Another user holds a lock."""
        return bool(self & ArchiveStatus.LOCKED_BY_OTHER)

    @property
    def has_revisions(self) -> bool:
        return bool(self & ArchiveStatus.HAS_CHILDREN)


class Attributes(enum.IntFlag):
    """How an archive treats its files."""

    NONE = 0
    BINARY = lib.TRVS_ATTRIBUTE_BINARY
    KEYWORDS = lib.TRVS_ATTRIBUTE_KEYWORDS
    EXCLUSIVE_LOCKS = lib.TRVS_ATTRIBUTE_EXCLUSIVE_LOCKS
    READ_ONLY = lib.TRVS_ATTRIBUTE_READ_ONLY
    CHECK_LOCKS = lib.TRVS_ATTRIBUTE_CHECK_LOCKS
    EXECUTABLE = lib.TRVS_ATTRIBUTE_EXECUTABLE

    __str__ = enum.Flag.__str__


class Ignore(enum.IntFlag):
    """What a comparison leaves out of account."""

    NOTHING = 0
    SPACE = lib.TRVS_DIFF_IGNORE_SPACE
    CASE = lib.TRVS_DIFF_IGNORE_CASE
    LINE_ENDS = lib.TRVS_DIFF_IGNORE_LINE_ENDS


@dataclasses.dataclass(frozen=True)
class Record:
    """The names in a project's data file, as they stand there, with drives and backslashes."""

    workfile: str
    qualified_workfile: str
    full_workfile: str  # "" if the path climbs above its root.
    archive: str
    qualified_archive: str


@dataclasses.dataclass(frozen=True)
class Revision:
    """One revision. Its time is a local one of who made it, without a zone, in whole seconds."""

    number: str
    author: str
    time: Optional[datetime.datetime]
    message: str
    labels: Tuple[str, ...]
    groups: Tuple[str, ...]
    lockers: Tuple[str, ...]

    @property
    def branch(self) -> str:
        """The number of its branch; "1" for the trunk."""
        head, _, _ = self.number.rpartition(".")
        return head if head.count(".") > 0 else "1"

    def __str__(self) -> str:
        return self.number


@dataclasses.dataclass(frozen=True)
class Lock:
    """A lock. Its time is a local one, without a zone, in whole seconds."""

    revision: str
    user: str
    time: Optional[datetime.datetime]
    note: str


@dataclasses.dataclass(frozen=True)
class Content:
    """What is stored of a revision: its size in bytes, its XXH64 with seed 0 as 16 hexadecimal
    digits, and when the file was changed that was checked in."""

    revision: str
    size: int
    checksum: str
    modified: Optional[datetime.datetime]
    author: str


@dataclasses.dataclass(frozen=True)
class Health:
    """What reading every byte of an archive has shown. True if all is whole."""

    status: Status
    damaged: Tuple[str, ...]  # Numbers of revisions that can't be checked out any more.
    texts: Tuple[str, ...]

    def __bool__(self) -> bool:
        return self.status == Status.DONE


@dataclasses.dataclass(frozen=True)
class Directive:
    """A setting of the configuration; without a file it is a default, and its line is 0."""

    name: str
    value: str
    file: str
    line: int


def time_of(text: str) -> Optional[datetime.datetime]:
    """For "2026-11-21 04:05:46"; None for what no calendar has."""
    try:
        return datetime.datetime.fromisoformat(text)
    except ValueError:
        return None


def unpacked(packed: int) -> Optional[datetime.datetime]:
    """A creation time, packed from the lowest bit on."""
    bits = packed & 0xFFFFFFFF
    try:
        return datetime.datetime(1980 + (bits & 0x7F), bits >> 7 & 0xF, bits >> 11 & 0x1F,
                                 bits >> 16 & 0x1F, bits >> 21 & 0x3F, 2 * (bits >> 27))
    except ValueError:
        return None


def packed(time: Optional[datetime.datetime]) -> int:
    """For the engine, packed from the highest bit on; 0, the present, for None."""
    if time is None:
        return 0
    if time.tzinfo is not None:
        time = time.astimezone()
    if not 1980 <= time.year <= 2107:
        raise ValueError("an archive has times of the years 1980 to 2107, not %s" % time)
    return ((time.year - 1980) << 25 | time.month << 21 | time.day << 16 | time.hour << 11
            | time.minute << 5 | time.second // 2)


def revisions_of(records: List[Tuple[int, str]]) -> List[Revision]:
    """A revision tree as the engine lists it, flags and texts."""
    found: List[Revision] = []
    fields: dict[str, str] = {}
    lists: dict[int, List[str]] = {}

    def finish() -> None:
        if fields:
            found.append(Revision(fields["number"], fields.get("author", ""),
                                  time_of(fields.get("time", "")), fields.get("message", ""),
                                  *(tuple(lists[kind]) for kind in _LISTS)))

    for flags, text in records:
        if flags & lib.TRVS_TREE_REVISION:
            finish()
            fields, lists = {"number": text}, {kind: [] for kind in _LISTS}
            continue
        for kind, name in _FIELDS.items():
            if flags & kind:
                fields[name] = text
        for kind in _LISTS:
            if flags & kind:
                lists[kind].append(text)
    finish()
    return found


_FIELDS = {lib.TRVS_TREE_AUTHOR: "author", lib.TRVS_TREE_TIME: "time",
           lib.TRVS_TREE_CHANGE: "message"}
_LISTS = (lib.TRVS_TREE_LABEL, lib.TRVS_TREE_GROUP, lib.TRVS_TREE_LOCKER)
