"""What can go wrong: the engine's statuses, and an exception for each kind of them."""
from __future__ import annotations

import enum
from typing import Any, Sequence, cast

from ._native import ffi, lib


class Status(enum.IntEnum):
    """What the engine gives. docs/errors.md tells what each means and what to do."""

    DONE = lib.TRVS_DONE
    INTERNAL_ERROR = lib.TRVS_INTERNAL_ERROR
    NO_ARCHIVE = lib.TRVS_NO_ARCHIVE
    ARCHIVE_EXISTS = lib.TRVS_ARCHIVE_EXISTS
    INVALID_LINE = lib.TRVS_INVALID_LINE
    CANNOT_OPEN = lib.TRVS_CANNOT_OPEN
    IN_USE = lib.TRVS_IN_USE
    BUFFER_TOO_SMALL = lib.TRVS_BUFFER_TOO_SMALL
    BAD_NAME = lib.TRVS_BAD_NAME
    MISUSE = lib.TRVS_MISUSE
    NO_SUCH_LABEL = lib.TRVS_NO_SUCH_LABEL
    LABEL_EXISTS = lib.TRVS_LABEL_EXISTS
    NO_ACCESS = lib.TRVS_NO_ACCESS
    LOCKED = lib.TRVS_LOCKED
    CANCELLED = lib.TRVS_CANCELLED
    NO_MEMORY = lib.TRVS_NO_MEMORY
    BAD_DATE = lib.TRVS_BAD_DATE
    NO_REVISION = lib.TRVS_NO_REVISION
    BAD_NUMBER = lib.TRVS_BAD_NUMBER
    NO_REVISIONS = lib.TRVS_NO_REVISIONS
    NESTED_TOO_DEEP = lib.TRVS_NESTED_TOO_DEEP
    SAME_NAMES = lib.TRVS_SAME_NAMES
    WOULD_OVERWRITE = lib.TRVS_WOULD_OVERWRITE
    NOT_AN_ARCHIVE = lib.TRVS_NOT_AN_ARCHIVE
    CANNOT_LOCK = lib.TRVS_CANNOT_LOCK
    NO_LOCK = lib.TRVS_NO_LOCK
    NO_WORKFILE = lib.TRVS_NO_WORKFILE
    CANNOT_PROMOTE = lib.TRVS_CANNOT_PROMOTE
    SEVERAL_TOP_GROUPS = lib.TRVS_SEVERAL_TOP_GROUPS
    NO_HIGHER_GROUP = lib.TRVS_NO_HIGHER_GROUP
    NO_SUCH_GROUP = lib.TRVS_NO_SUCH_GROUP
    NO_TOP_GROUP = lib.TRVS_NO_TOP_GROUP
    BUSY_ARCHIVE = lib.TRVS_BUSY_ARCHIVE
    GROUP_IN_THE_WAY = lib.TRVS_GROUP_IN_THE_WAY
    NO_GROUP_REVISION = lib.TRVS_NO_GROUP_REVISION
    NO_JOURNAL = lib.TRVS_NO_JOURNAL
    NEEDS_DEVELOPMENT_GROUP = lib.TRVS_NEEDS_DEVELOPMENT_GROUP
    GROUP_LOCKED = lib.TRVS_GROUP_LOCKED
    WOULD_BRANCH = lib.TRVS_WOULD_BRANCH
    OTHER_BRANCH = lib.TRVS_OTHER_BRANCH
    NO_USER_ID = lib.TRVS_NO_USER_ID
    OLDER = lib.TRVS_OLDER
    UNCHANGED = lib.TRVS_UNCHANGED
    BAD_INCLUDE = lib.TRVS_BAD_INCLUDE
    BAD_COLUMNS = lib.TRVS_BAD_COLUMNS
    BAD_CONDITIONAL = lib.TRVS_BAD_CONDITIONAL
    CANNOT_WRITE = lib.TRVS_CANNOT_WRITE
    HAS_BRANCHES = lib.TRVS_HAS_BRANCHES
    NOT_IN_ACCESS_LIST = lib.TRVS_NOT_IN_ACCESS_LIST
    TRIGGER_REFUSED = lib.TRVS_TRIGGER_REFUSED
    TRIGGER_FAILED = lib.TRVS_TRIGGER_FAILED
    CANNOT_READ_CONFIGURATION = lib.TRVS_CANNOT_READ_CONFIGURATION
    DISALLOWED = lib.TRVS_DISALLOWED
    TOO_LARGE = lib.TRVS_TOO_LARGE
    NEEDS_BRANCH = lib.TRVS_NEEDS_BRANCH
    REVISION_EXISTS = lib.TRVS_REVISION_EXISTS
    TORN_END = lib.TRVS_TORN_END
    LIMIT = lib.TRVS_LIMIT
    NEEDS_REWRITE = lib.TRVS_NEEDS_REWRITE

    @classmethod
    def _missing_(cls, value: object) -> Status:
        """One of a newer library."""
        member = int.__new__(cls, value)  # type: ignore[call-overload]
        member._name_, member._value_ = "UNKNOWN_%s" % value, value
        return cast(Status, member)

    def __reduce_ex__(self, protocol: Any) -> Any:
        return Status, (int(self),)

    @property
    def text(self) -> str:
        """The library's words for it."""
        words: bytes = ffi.string(lib.TrvsStatusText(int(self)))
        return words.decode()


class Error(Exception):
    """All that this package raises of itself."""


class ClosedError(Error):
    """The object's database, project or folder was closed or read again since it was given."""


class GoneError(ClosedError):
    """The record of the object is gone: it was removed, or stands for nothing after a change."""


class UnknownNameError(Error, KeyError):
    """There is nothing of that name in a collection."""

    def __str__(self) -> str:
        return str(self.args[0])  # KeyError would show it in quotes.


class TextError(Error, ValueError):
    """A text that can't be stored: not in the database's code page, or with a NUL."""


class DatabaseError(Error):
    """The database did less than it was asked to; the text is the library's."""


class UnreadableError(Error):
    """The archive is not there or damaged, so nothing is known of it."""


class EngineError(Error):
    """An operation on an archive failed, and the archive is as it was before.

    `status` is the engine's, `subject` what it was about, and `texts` is what it said besides.
    """

    def __init__(self, status: Status, subject: str, texts: Sequence[str] = ()) -> None:
        self.status = status
        self.subject = subject
        self.texts = tuple(texts)
        super().__init__(": ".join(filter(None, [subject, status.text, *texts])))

    def __reduce__(self) -> Any:
        return type(self), (self.status, self.subject, self.texts)


class NotFoundError(EngineError, LookupError):
    """No such archive, file, revision, label or group."""


class ExistsError(EngineError):
    """A file, a label or a revision is there already, and may not be replaced or moved."""


class LockError(EngineError):
    """Somebody's lock, or the lack of one, is in the way."""


class InUseError(EngineError):
    """Another program is changing the archive, and five seconds were not enough."""


class AccessError(EngineError):
    """Something may not be read or written, by its rights or by the archive's access list."""


class DamagedError(EngineError):
    """The file is no archive, or is damaged where it was read."""


class UnchangedError(EngineError):
    """The file to be checked in is equal to its parent."""


class OlderError(EngineError):
    """The file to be checked in is older than its parent was."""


class OvertakenError(EngineError):
    """Somebody has checked in meanwhile."""


class PromotionError(EngineError):
    """A promotion group stands elsewhere, has no revision or has none above it."""


class InvalidError(EngineError, ValueError):
    """What was asked for can't be."""


class ConfigurationError(EngineError):
    """A configuration file can't be read, or holds what can't be."""


class TriggerError(EngineError):
    """The command before the operation said no, could not be run, or may not be."""


class CancelledError(EngineError):
    """A hook did not want to go on."""


class NoMemoryError(EngineError, MemoryError):
    """There is no memory, or too little room for what is wide in $TMPDIR and /var/tmp."""


class GroupError(Error):
    """Changes of a group that failed, or did not get to the disk: each archive is as it was before.
    """

    def __init__(self, failures: Sequence[Error]) -> None:
        self.failures = tuple(failures)
        super().__init__("; ".join(map(str, failures)))

    def __reduce__(self) -> Any:
        return type(self), (self.failures,)


_KINDS = {
    NotFoundError: "NO_ARCHIVE NO_WORKFILE NO_REVISION NO_REVISIONS NO_SUCH_LABEL NO_SUCH_GROUP "
                   "NO_GROUP_REVISION NOT_IN_ACCESS_LIST",
    ExistsError: "ARCHIVE_EXISTS LABEL_EXISTS WOULD_OVERWRITE REVISION_EXISTS HAS_BRANCHES",
    LockError: "LOCKED CANNOT_LOCK NO_LOCK GROUP_LOCKED WOULD_BRANCH",
    InUseError: "IN_USE BUSY_ARCHIVE",
    AccessError: "CANNOT_OPEN CANNOT_WRITE NO_ACCESS NO_USER_ID NEEDS_REWRITE",
    DamagedError: "NOT_AN_ARCHIVE TORN_END",
    UnchangedError: "UNCHANGED",
    OlderError: "OLDER",
    OvertakenError: "NEEDS_BRANCH",
    PromotionError: "CANNOT_PROMOTE NO_HIGHER_GROUP GROUP_IN_THE_WAY OTHER_BRANCH "
                    "NEEDS_DEVELOPMENT_GROUP SEVERAL_TOP_GROUPS",
    InvalidError: "BAD_NAME BAD_NUMBER BAD_DATE BAD_COLUMNS SAME_NAMES LIMIT TOO_LARGE MISUSE "
                  "BUFFER_TOO_SMALL",
    ConfigurationError: "CANNOT_READ_CONFIGURATION INVALID_LINE BAD_INCLUDE NESTED_TOO_DEEP "
                        "BAD_CONDITIONAL DISALLOWED",
    TriggerError: "TRIGGER_REFUSED TRIGGER_FAILED NO_JOURNAL",
    CancelledError: "CANCELLED",
    NoMemoryError: "NO_MEMORY",
}
_CLASSES = {Status[name]: kind for kind, names in _KINDS.items() for name in names.split()}


def error_of(status: int, subject: str, texts: Sequence[str] = ()) -> EngineError:
    """The exception for a status that is not DONE."""
    known = Status(status)
    return _CLASSES.get(known, EngineError)(known, subject, texts)
