"""A database: the list of projects, and what holds for the whole process."""
from __future__ import annotations

import contextlib
import os
import pathlib
from types import TracebackType
from typing import Any, Callable, Iterator, List, Optional, Type

from ._library import (LOCK, PathText, Text, encoded, flat, last_message, native_path, path_bytes,
                       path_of, session, start, status_of)
from ._native import ffi, lib
from ._nodes import Children, Life, Parent
from .errors import (ClosedError, ConfigurationError, DatabaseError, Error, GroupError,
                     Status)
from .hooks import Hooks
from .project import Project

_LIST = b"trvsproj.pub"


class Database(Parent):
    """An open database: made by `trevault.open`. A context manager, which closes it.

    A process has one open database at a time: the library has one root. Threads may share it; each
    call waits for the one that runs.
    """

    _open_function = lib.OpenProjectRoot
    _close_function = lib.CloseProjectRoot

    def __init__(self, public: bytes, private: bytes, create: bool) -> None:
        root = flat(lib.Init, public, private)
        if not root:
            raise DatabaseError(last_message() or "no database could be made there")
        super().__init__(root, Life())
        self._used: Optional[Project] = None
        self.is_in_group = False
        self._sequels: List[Callable[[], None]] = []
        if not create:
            self._refuse_missing()
        self._children_life()

    def _refuse_missing(self) -> None:
        """What the library would make: a share that isn't mounted looks like that, too."""
        names = os.listdir(os.fsencode(self.public)) if self.public.is_dir() else []
        if not any(name.lower() == _LIST for name in names):
            raise DatabaseError("there is no project database in %s" % self.public)

    def _check(self) -> None:
        if self._life.ended_by:
            raise ClosedError(self._life.ended_by)

    def _confirm(self) -> None:
        """The root never dies."""

    @property
    def raw_name(self) -> bytes:
        """The public directory, as bytes."""
        return os.fsencode(self.public)

    @property
    def name(self) -> str:
        """The public directory."""
        return str(self.public)

    @property
    def public(self) -> pathlib.Path:
        """The directory that the team shares."""
        return self._root(lib.GetRootPublicDir)

    @property
    def private(self) -> pathlib.Path:
        """The user's own."""
        return self._root(lib.GetRootPrivateDir)

    def _root(self, function: Callable[[Any], Any]) -> pathlib.Path:
        text = self._bytes(function)
        return native_path(text) or path_of(text)

    @property
    def projects(self) -> Children[Project]:
        """The projects, by their names."""
        return Children(self, Project, lib.GetFirstProject, lib.GetNextProject, lib.FindProject)

    def create_project(self, name: Text, work_directory: PathText,
                       team_work_directory: Optional[PathText] = None, *,
                       archives: Optional[PathText] = None) -> Project:
        """Makes a project. Archives go to a directory beside its configuration file if no other is
        given. Colleagues who name no work directory of their own get the team's, if one is given.
        Raises DatabaseError, also if there is a project of that name."""
        with LOCK:
            if self.projects.get(name) is not None:
                raise DatabaseError("there is a project %r already" % name)
            private = path_bytes(work_directory)
            public = b"" if team_work_directory is None else path_bytes(team_work_directory)
            flat(lib.CreateProject, self._token, encoded(name), private, public)
            message = last_message()
            project = self.projects.get(name)
            if project is None:
                raise DatabaseError(message or "%r could not be made" % name)
            configuration = project.configuration_file
            if archives is None and configuration is not None:
                archives = configuration.parent / "archives"
            if archives is not None:
                os.makedirs(archives, exist_ok=True)
                project.archive_directories = [path_of(path_bytes(archives))]
            return project

    def _child(self, token: Any, kind: Any, life: Life) -> Any:
        known = self._parents.get(token)
        if known is None:
            known = self._parents[token] = Project(token, life, self)
        return known

    # The configuration in use --------------------------------------------------------------------

    def _use(self, project: Project) -> None:
        if self._used is project:
            return
        self.flush()
        if not status_of(lib.FoldapiUseProject, project._token):
            self._used = None
            message = last_message()
            raise ConfigurationError(Status.CANNOT_READ_CONFIGURATION, project.name,
                                     [message] if message else [])
        lib.TrvsRegisterPathResolver(ffi.addressof(lib, "trevaultResolvePath"))
        self._used = project

    def _forget_configuration(self) -> None:
        self._used = None

    def _end(self, why: str) -> None:
        super()._end(why)
        self._used = None

    # Groups --------------------------------------------------------------------------------------

    @contextlib.contextmanager
    def group(self) -> Iterator[None]:
        """Changes that wait for the disk together, which is faster for many: at the end of the
        block they are there. Other threads wait until then.

        Raises GroupError for those that did not get there. An error in the block ends the group as
        well: what was changed before stays changed. Groups don't nest."""
        with LOCK:
            self._check()
            if self.is_in_group:
                raise Error("groups don't nest")
            self._begin()
            self.is_in_group = True
            try:
                yield
            finally:
                self.is_in_group = False
                if not session.is_cut_off:
                    self._finish()

    @staticmethod
    def _begin() -> None:
        session.undone = []
        status_of(lib.TrvsBeginBatch, lib.TRVS_CONTEXT)

    def _finish(self) -> None:
        try:
            status_of(lib.TrvsEndBatch, lib.TRVS_CONTEXT)
        finally:
            self.settle()
        if session.undone:
            raise GroupError(session.undone)

    def flush(self) -> None:
        """Brings what waits in a group to the disk."""
        if self.is_in_group:
            self._finish()
            self._begin()

    def settle(self, *sequels: Callable[[], None]) -> None:
        """Keeps what is to be done after the changes. Without any it does them, or leaves them to
        the end of a group."""
        self._sequels.extend(sequels)
        if sequels or self.is_in_group:
            return
        waiting, self._sequels = self._sequels, []
        for sequel in waiting:
            sequel()

    # The end -------------------------------------------------------------------------------------

    def close(self) -> None:
        """Closes the database; all that was found in it raises ClosedError then. Closing it again
        does nothing."""
        with LOCK:
            if self._life.ended_by:
                return
            if self.is_in_group:
                raise Error("the database can't be closed within a group")
            self.refresh()
            self._life.ended_by = "the database was closed"
            if session.database is self:
                session.database = None

    def __enter__(self) -> Database:
        self._check()
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()


def open(public: Optional[PathText] = None, private: Optional[PathText] = None, *,
         create: bool = False, encoding: Optional[str] = None,
         hooks: Optional[Hooks] = None) -> Database:
    """Opens a database by its two directories: the one that the team shares, and the user's own.
    What isn't given comes from the user's profile, as for the command line; where that says
    nothing, a default below the user's data directory is taken, and noted in the profile.

      create    makes the database if there is none; else that is a DatabaseError
      encoding  the code page that the database's names and texts are in, such as "cp1252". Without
                one they are taken as file names are, os.fsdecode; bytes that are in no code page
                come back as they were. Names may be given as bytes anywhere
      hooks     answers to what the library asks, and listeners

    Raises Error while another database is open in this process."""
    if not isinstance(hooks, (Hooks, type(None))):
        raise TypeError("hooks are an object of a class derived from trevault.Hooks")
    with LOCK:
        if session.database is not None:
            raise Error("a database is open in this process: close %r first" % session.database)
        if session.inherited is not None:
            flat(lib.CloseProjectRoot, session.inherited)
            session.inherited = None
        start(hooks or Hooks(), encoding)
        database = Database(_root_text(public), _root_text(private), create)
        session.database = database
        return database


def _leave() -> None:
    """A child process has the objects of its parent, and may open a database of its own. What its
    parent was changing is the parent's to end."""
    database, session.database = session.database, None
    if database is not None:
        session.is_cut_off = session.is_calling or database.is_in_group
        database._end("the process was forked")
        database._life.ended_by = "the process was forked: open the database anew"
        session.inherited = database._token
    LOCK.release()


os.register_at_fork(before=LOCK.acquire, after_in_parent=LOCK.release, after_in_child=_leave)


def _root_text(directory: Optional[PathText]) -> bytes:
    """A drive or a share is the profile's to find."""
    if directory is None:
        return b""
    text = os.fsencode(directory)
    return text if b"\\" in text or text[1:2] == b":" else path_bytes(directory)
