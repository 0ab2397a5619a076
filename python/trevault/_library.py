"""The one way to the C libraries: their lock, their texts, their questions, their statuses.

They work one thread at a time, so every call holds LOCK. The interpreter's own lock is given up
in each call, and taken again for a callback, on the same thread.
"""
from __future__ import annotations

import os
import pathlib
import threading
from typing import TYPE_CHECKING, Any, Callable, Dict, List, Optional, Tuple, Union

from ._native import ffi, lib
from .errors import EngineError, Error, Status, TextError, error_of
from .hooks import Hooks

if TYPE_CHECKING:
    from .database import Database

Text = Union[str, bytes]
Name = Union[str, bytes, "os.PathLike[str]"]
PathText = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

LOCK = threading.RLock()
_FIRST_SIZE = 4096
_LARGEST_SIZE = 1 << 30


class _Session:
    """What one call leaves to its callbacks, and they to it."""

    def __init__(self) -> None:
        self.database: Optional[Database] = None
        self.hooks = Hooks()
        self.encoding: Optional[str] = None
        self.is_calling = False
        self.is_cut_off = False  # A child process that was forked amid a change.
        self.inherited: Optional[Any] = None  # The root that was open when the process was forked.
        self.raised: Optional[BaseException] = None
        self.said: List[str] = []
        self.lines: List[str] = []
        self.bytes: List[bytes] = []
        self.undone: List[EngineError] = []
        self.about: Dict[str, str] = {}  # What each event that was told was about.


session = _Session()


# Texts -------------------------------------------------------------------------------------------

def decoded(text: bytes) -> str:
    """A name or a text of the database; other bytes than its code page has come back as they were.
    """
    if session.encoding is None:
        return os.fsdecode(text)
    return text.decode(session.encoding, "surrogateescape")


def as_text(text: Text) -> str:
    return text if isinstance(text, str) else decoded(text)


def encoded(text: Optional[Name]) -> Any:
    """A text for the library: NULL for None."""
    if text is None:
        return ffi.NULL
    if isinstance(text, str):
        text = bytes_of(text, session.encoding)
    if not isinstance(text, bytes):
        raise TypeError("a name or a text is a str or bytes, not %r" % (text,))
    return whole(text)


def bytes_of(text: str, encoding: Optional[str]) -> bytes:
    """The same as in a code page, None for that of file names."""
    try:
        return os.fsencode(text) if encoding is None else text.encode(encoding, "surrogateescape")
    except UnicodeEncodeError as error:
        raise TextError("%r: %r is not in the code page %s"
                        % (text, text[error.start:error.end], encoding or error.encoding)) from None


def whole(text: bytes) -> bytes:
    if b"\0" in text:
        raise TextError("a NUL in the text %r" % text)
    return text


def path_bytes(path: PathText) -> bytes:
    """A path of the system, absolute."""
    text = os.fspath(path)
    return whole(os.path.abspath(bytes_of(text, None) if isinstance(text, str) else text))


def path_of(text: bytes) -> pathlib.Path:
    return pathlib.Path(os.fsdecode(text))


# Calls -------------------------------------------------------------------------------------------

def flat(function: Callable[..., Any], *arguments: Any) -> Any:
    """Calls a function of foldapi.h."""
    with LOCK:
        refuse_misuse()
        return function(*arguments)


def native_path(text: bytes) -> Optional[pathlib.Path]:
    """Where a path of the database leads on this machine; None if nowhere."""
    path = ffi.string(flat(lib.FoldapiNativePath, text))
    return path_of(path) if path else None


def refuse_misuse() -> None:
    if session.is_cut_off:
        raise Error("this process was forked amid a change of its parent: it can have no database")
    if session.is_calling:
        raise Error("a hook must not use the database")


def last_message() -> str:
    """Why the thread's last call of foldapi.h did less than it was asked to; "" if it said nothing.
    """
    return decoded(ffi.string(lib.FoldapiLastMessage()))


def status_of(function: Callable[..., int], *arguments: Any) -> int:
    """Calls a function that may call back. What a hook raised meanwhile comes out."""
    with LOCK:
        refuse_misuse()
        session.said.clear()
        session.is_calling = True
        try:
            status = function(*arguments)
        finally:
            session.is_calling = False
        raised, session.raised = session.raised, None
        if raised is not None:
            raise raised
        return status


def check(subject: str, function: Callable[..., int], *arguments: Any) -> None:
    """The same; raises the exception for any status but DONE."""
    with LOCK:
        status = status_of(function, *arguments)
        if status != Status.DONE:
            raise error_of(status, subject, session.said)


def fetch(function: Callable[..., int], *arguments: Any) -> Tuple[int, bytes]:
    """The status, and what the function puts into a buffer, which grows until it fits."""
    size = _FIRST_SIZE
    while True:
        buffer = ffi.new("char[]", size)
        status = status_of(function, *arguments, buffer, size)
        if status != Status.BUFFER_TOO_SMALL or size >= _LARGEST_SIZE:
            return status, bytes(ffi.buffer(buffer))
        size *= 4


def fetch_list(subject: str, width: int, function: Callable[..., int],
               *arguments: Any) -> List[Tuple[str, ...]]:
    """The records of a list, `width` texts each. An empty first text ends the list."""
    with LOCK:
        status, buffer = fetch(function, *arguments)
        if status != Status.DONE:
            raise error_of(status, subject, session.said)
        return records(buffer, width)


def records(buffer: bytes, width: int) -> List[Tuple[str, ...]]:
    found = []
    texts = iter(buffer.split(b"\0"))
    for first in texts:
        if not first:
            break
        found.append((decoded(first), *(decoded(next(texts)) for _ in range(width - 1))))
    return found


def lines_of(subject: str, function: Callable[..., int], *arguments: Any) -> List[str]:
    """The lines of a report."""
    with LOCK:
        session.lines = []
        check(subject, function, *arguments)
        return session.lines


def content_of(subject: str, archive: bytes, revision: Any, flags: int) -> bytes:
    with LOCK:
        session.bytes = []
        check(subject, lib.TrvsReadRevision, lib.TRVS_CONTEXT, archive, revision, -1, lib.onContent,
              ffi.NULL, flags)
        pieces, session.bytes = session.bytes, []
        return b"".join(pieces)


# Callbacks ---------------------------------------------------------------------------------------

def _keep(kind: Any, exception: BaseException, traceback: Any) -> None:
    """Nothing is raised through the library: the call raises it when it is back."""
    if session.raised is None:
        session.raised = exception


def _answer(is_yes: bool) -> int:
    return int(lib.TRVS_GO_ON if is_yes else lib.TRVS_REFUSE)


def _callback(name: str) -> Callable[[Callable[..., int]], Callable[..., int]]:
    def define(function: Callable[..., int]) -> Callable[..., int]:
        ffi.def_extern(name=name, error=lib.TRVS_REFUSE, onerror=_keep)(function)
        return function
    return define


@_callback("onContinue")
def _on_continue() -> int:
    return _answer(session.raised is None and session.hooks.go_on())


@_callback("onRetry")
def _on_retry(code: int, path: Any) -> int:
    return _answer(code == Status.BUSY_ARCHIVE and session.hooks.wait(path_of(ffi.string(path))))


@_callback("onOutput")
def _on_output(text: Any, kind: int) -> int:
    session.lines.append(decoded(ffi.string(text)))
    return _answer(True)


@_callback("onContent")
def _on_content(client: Any, content: Any, size: int) -> int:
    session.bytes.append(bytes(ffi.buffer(content, size)))
    return _answer(True)


@_callback("onOverwrite")
def _on_overwrite(first: Any, second: Any, answer: Any) -> int:
    file, archive = path_of(ffi.string(first)), decoded(ffi.string(second))
    return _answer(session.hooks.overwrite(file, archive))


@_callback("onMoveLabel")
def _on_move_label(first: Any, second: Any, answer: Any) -> int:
    label, archive = decoded(ffi.string(first)), decoded(ffi.string(second))
    return _answer(session.hooks.move_label(label, archive))


@_callback("onTrigger")
def _on_trigger(event: Any, value: Any) -> int:
    return _answer(session.hooks.trigger(decoded(ffi.string(event)), decoded(ffi.string(value))))


@_callback("onText")
def _on_text(text: Any) -> int:
    session.said.append(decoded(ffi.string(text)))
    return _answer(True)


@_callback("onMessage")
def _on_message(code: int) -> int:
    session.hooks.failed_afterwards(Status(code))
    return _answer(True)


@_callback("onBadDirective")
def _on_bad_directive(code: int, line: Any, file: Any, number: int) -> int:
    session.hooks.bad_directive(Status(code), decoded(ffi.string(line)),
                                decoded(ffi.string(file)), number)
    return _answer(True)


@_callback("onNotifyFour")
def _on_done(event: Any, archive: Any, file: Any, about: Any, value: int) -> int:
    texts = [decoded(ffi.string(each)) for each in (event, archive, file, about)]
    session.about[texts[0]] = texts[3]
    session.hooks.done(*texts)
    return _answer(True)


@_callback("onUndone")
def _on_undone(archive: Any, event: Any, status: int) -> int:
    subject = "%s of %s" % (decoded(ffi.string(event)), decoded(ffi.string(archive)))
    session.undone.append(error_of(status, subject))
    return _answer(True)


_REGISTERED = {
    "CONTINUE": lib.onContinue, "RETRY": lib.onRetry, "OUTPUT": lib.onOutput,
    "OVERWRITE": lib.onOverwrite, "MOVE_LABEL": lib.onMoveLabel, "TRIGGER": lib.onTrigger,
    "TEXT": lib.onText, "MESSAGE": lib.onMessage, "BAD_DIRECTIVE": lib.onBadDirective,
    "OPERATION": lib.onNotifyFour, "UNDONE": lib.onUndone,
}


def start(hooks: Hooks, encoding: Optional[str]) -> None:
    """Makes the libraries ready for a database."""
    if encoding is not None and "/\\;".encode(encoding) != b"/\\;":
        raise ValueError("%s: names need a code page that has ASCII in it" % encoding)
    # The library's checks mean nothing to a program, and would stand in its output.
    os.environ.setdefault("TRVS_ASSERTIONS", "none")
    session.hooks = hooks
    session.encoding = encoding
    for name, function in _REGISTERED.items():
        lib.TrvsRegisterCallback(getattr(lib, "TRVS_CALLBACK_" + name),
                                 ffi.cast("TrvsCallback", function))
