"""What the library asks a program and tells it while it works."""
from __future__ import annotations

import pathlib
import warnings

from .errors import Status


class TrevaultWarning(UserWarning):
    """Something that did not go as it should in an operation that is done all the same."""


class Hooks:
    """Answers and listeners: give an object of a class derived from this to `trevault.open`.

    Without one of these methods the careful answer is given. They run on the thread whose call they
    belong to and must not use the database: that raises an Error. What they raise ends the
    operation where it still can, and comes out of the call.
    """

    def go_on(self) -> bool:
        """Whether an operation shall go on; asked before a change and now and then in reports."""
        return True

    def wait(self, archive: pathlib.Path) -> bool:
        """Whether to wait for an archive that another program changes, every tenth of a second."""
        return True

    def overwrite(self, file: pathlib.Path, archive: str) -> bool:
        """Whether a check-out may replace a file; for `overwrite=None` only."""
        return False

    def foreign_place(self, file: pathlib.Path) -> bool:
        """Whether a file may be made where a colleague's record leads, outside of own places."""
        return False

    def move_label(self, label: str, archive: str) -> bool:
        """Whether a label may leave the revision where it is; for `move=None` only."""
        return False

    def trigger(self, event: str, command: str) -> bool:
        """Whether a command of a configuration that others can change may run at an event, such as
        "PRECHECKIN"; or, for "JOURNAL", the file `command` may be written."""
        return False

    def done(self, event: str, archive: str, file: str, about: str) -> None:
        """An operation is done; `about` is a revision, a label or a group."""

    def bad_directive(self, status: Status, line: str, file: str, number: int) -> None:
        """A line of a configuration that was left out."""
        warnings.warn("%s:%d: %s: %s" % (file, number, status.text, line), TrevaultWarning,
                      stacklevel=2)

    def failed_afterwards(self, status: Status) -> None:
        """What went wrong after an operation was done: its journal or its file."""
        warnings.warn("the operation is done, but: %s" % status.text, TrevaultWarning, stacklevel=2)
