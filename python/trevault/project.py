"""Projects and their folders: what holds files."""
from __future__ import annotations

import contextlib
import functools
import os
import pathlib
import re
from typing import (TYPE_CHECKING, Any, Dict, Iterable, Iterator, List, NamedTuple, Optional,
                    Tuple)

from ._library import (LOCK, Name, PathText, Text, as_text, check, decoded, encoded, fetch_list,
                       flat, last_message, native_path, path_bytes, whole)
from ._native import ffi, lib
from ._nodes import Children, Life, Parent
from .archive import Archive
from .errors import ClosedError, DatabaseError, Error, GroupError, Status, error_of
from .values import Directive

if TYPE_CHECKING:
    from .database import Database


class Archives(Children[Archive]):
    """The files that a project or a folder holds itself. A name with a separator is a path as the
    records have it; a pathlib.Path is that of the user's file."""

    def __init__(self, parent: Holder) -> None:
        super().__init__(parent, Archive, lib.GetFirstArchive, lib.GetNextArchive,
                         lib.FindArchiveByWorkName)
        self._holder = parent

    def get(self, name: Name) -> Optional[Archive]:
        if isinstance(name, os.PathLike):
            path = path_bytes(name)
            return self.get(self._holder._place_of(path)) or next((
                each for each in self if each._bytes(lib.GetFullQualWorkfileName) == path), None)
        text = encoded(name)
        if b"/" not in text and b"\\" not in text:
            return super().get(name)
        return self._search(lib.FindArchiveByQualWorkName, lib.GetQualWorkfileName, name)


class _New(NamedTuple):
    """A file with a new archive that has no record yet."""

    place: bytes
    record: bytes
    archive: bytes


def _plain(path: bytes) -> bytes:
    """A path as a record has it: one separator between two names."""
    return re.sub(rb"(?<=.)[/\\]+", b"/", path)


def _keep_made(archive: Archive, new: _New) -> None:
    """A group's end: without its archive a file is not in the project."""
    with contextlib.suppress(ClosedError):
        if not os.path.exists(new.archive):
            archive.remove()


class Holder(Parent):
    """A project or a folder."""

    @property
    def project(self) -> Project:
        raise NotImplementedError

    @property
    def work_directory(self) -> Optional[pathlib.Path]:
        raise NotImplementedError

    @property
    def archives(self) -> Archives:
        """The files, by their directories and names."""
        return Archives(self)

    def _place_of(self, file: bytes) -> bytes:
        """A path of the system as a record has it: from the work directory on, if it is in it."""
        top = self.work_directory
        if top and file.startswith(os.fsencode(top) + b"/"):
            return file[len(os.fsencode(top)) + 1:]
        return file

    def add(self, file: PathText, archive: Optional[PathText] = None, *, message: Text = "",
            label: Optional[Text] = None, description: Optional[Text] = None,
            group: Optional[Text] = None, revision: Optional[Text] = None) -> Archive:
        """Makes an archive with its first revision from a file, and gives the file a record here.

        The archive is put where the configuration wants it, below the first archive directory, if
        no other path is given. `revision` is the first number, such as "2.0". The file becomes
        read-only. Raises ExistsError if there is such a record or archive."""
        with LOCK:
            new = self._create(file, archive, message, label, description, group, revision)
            added, failures = self._record([new])
            for failure in failures:
                raise failure
            return added[0]

    def add_all(self, files: Iterable[PathText], *, message: Text = "",
                label: Optional[Text] = None, group: Optional[Text] = None,
                revision: Optional[Text] = None) -> List[Archive]:
        """Adds many files, which is much faster than one by one: their archives wait for the disk
        together, and the list of files is stored once.

        Raises GroupError with what failed if not all could be added; the others are."""
        if isinstance(files, (str, bytes, os.PathLike)):
            raise TypeError("files are a list")
        new: List[_New] = []
        failures: List[Error] = []
        stopped_by: Optional[BaseException] = None
        with LOCK, contextlib.ExitStack() as own:
            database = self.project.database
            if not database.is_in_group:
                own.enter_context(database.group())
            try:
                for file in files:
                    try:
                        new.append(self._create(file, None, message, label, None, group, revision))
                    except Error as error:
                        failures.append(error)
            except BaseException as error:  # What has an archive gets its record.
                stopped_by = error
            try:
                database.flush()
            except GroupError as error:
                failures.extend(error.failures)
            added, lost = self._record([each for each in new if os.path.exists(each.archive)])
        if stopped_by is not None:
            raise stopped_by
        if failures or lost:
            raise GroupError([*failures, *lost])
        return added

    def _create(self, file: PathText, archive: Optional[PathText], message: Text,
                label: Optional[Text], description: Optional[Text], group: Optional[Text],
                revision: Optional[Text]) -> _New:
        """Makes the archive of a file that has no record yet."""
        place = path_bytes(file)
        record = self._place_of(place)
        if self._find(lib.FindArchiveByQualWorkName, record, Archive) is not None:
            raise error_of(Status.ARCHIVE_EXISTS, decoded(record), ["it has a record already"])
        if record == place and self is not self.project:
            raise DatabaseError("%s lies outside of %r" % (decoded(place), self))
        self.project._use()
        path = self._archive_for(place, record) if archive is None else path_bytes(archive)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        check(decoded(record), lib.TrvsCreateWithRevision, lib.TRVS_CONTEXT, path, place,
              ffi.NULL, encoded(revision), encoded(label), encoded(description),
              encoded(message), encoded(group), ffi.NULL, 0, lib.TRVS_PUT_READ_ONLY)
        return _New(place, record, path)

    def _record(self, new: List[_New]) -> Tuple[List[Archive], List[DatabaseError]]:
        """Gives files with archives their records. Where one can't be stored, the file is as it was
        before."""
        added, failures = [], []
        found, message = self._store([(each.record, each.archive) for each in new])
        for each, archive in zip(new, found):
            subject = decoded(each.record)
            if archive is None:
                failures.append(DatabaseError(message or "%s: no record could be stored" % subject))
            elif os.fsencode(archive.workfile) == each.place:
                added.append(archive)
                if self.project.database.is_in_group:
                    self.project.database.settle(functools.partial(_keep_made, archive, each))
                continue
            else:
                archive.remove()
                failures.append(DatabaseError("%s: no record can hold this name" % subject))
            self.project.database.flush()
            os.remove(each.archive)
            os.chmod(each.place, os.stat(each.place).st_mode | 0o200)
        return added, failures

    def add_existing(self, file: PathText, archive: PathText) -> Archive:
        """Gives a file, of which a relative path begins at the work directory, a record that pairs
        it with an archive. Neither is looked at: a `file` that is no pathlib.Path is a text of the
        database. Raises DatabaseError."""
        with LOCK:
            record = encoded(os.fsencode(file) if isinstance(file, os.PathLike) else file)
            (found,), message = self._store([(record, path_bytes(archive))])
            if found is None:
                raise DatabaseError(message or "%s: no record could be stored" % decoded(record))
            return found

    def _store(self, pairs: List[Tuple[bytes, bytes]]) -> Tuple[List[Optional[Archive]], str]:
        """Stores records, by one edit. Those that are there then, and what the library said."""
        self._children_life()
        files, archives = ([ffi.new("char[]", whole(text)) for text in texts]
                           for texts in (zip(*pairs) if pairs else ((), ())))
        flat(lib.FoldapiAddArchives, self._token, ffi.new("char*[]", files),
             ffi.new("char*[]", archives), len(pairs))
        message = last_message()
        return [self._paired(*pair) for pair in pairs], message

    def _paired(self, record: bytes, archive: bytes) -> Optional[Archive]:
        """The one of a record. Several files may have an archive, and several archives a file."""
        def fits(each: Optional[Archive]) -> bool:
            return each is not None and (_plain(record), _plain(archive)) == (
                _plain(each._bytes(lib.GetQualWorkfileName)),
                _plain(each._bytes(lib.GetQualArchiveName)))

        found = self._find(lib.FindArchiveByQualWorkName, record, Archive)
        return found if fits(found) else next(filter(fits, self.archives), None)

    def _archive_for(self, place: bytes, record: bytes) -> bytes:
        directories = self.project.archive_directories
        if not directories:
            raise DatabaseError("%s has no archive directory" % self.project.name)
        subject = decoded(record)
        name = fetch_list(subject, 1, lib.TrvsComputeArchiveName, record)[0][0]
        inside = os.path.dirname(self.project._place_of(place).lstrip(b"/"))
        return os.path.join(os.fsencode(directories[0]), inside, os.path.basename(encoded(name)))

    def _child(self, token: Any, kind: Any, life: Life) -> Any:
        return Archive(token, life, self)


class Folder(Holder):
    """A named part of a project."""

    _name_functions = [lib.GetFolderName]
    _open_function = lib.OpenFolder
    _close_function = lib.CloseFolder

    def __init__(self, token: Any, life: Life, parent: Project) -> None:
        super().__init__(token, life)
        self._project = parent

    @property
    def project(self) -> Project:
        return self._project

    @property
    def work_directory(self) -> Optional[pathlib.Path]:
        """Where the present user's files of it are; None if nobody said."""
        return native_path(self._bytes(lib.FoldapiFolderWorkDir))

    def remove(self) -> None:
        """Takes the folder's records out of the project; files and archives stay."""
        self._project._destroy(self, lib.DestroyFolder)


class Project(Holder):
    """A project of a database. Its lists are read when they are first asked for."""

    _name_functions = [lib.GetProjectName]
    _open_function = lib.OpenProject
    _close_function = lib.CloseProject

    def __init__(self, token: Any, life: Life, parent: Database) -> None:
        super().__init__(token, life)
        self.database = parent

    @property
    def project(self) -> Project:
        return self

    @property
    def folders(self) -> Children[Folder]:
        """The folders, by their names."""
        return Children(self, Folder, lib.GetFirstFolder, lib.GetNextFolder, lib.FindFolder)

    def all_archives(self) -> Iterator[Archive]:
        """The files of the project itself, then those of its folders."""
        yield from self.archives
        for folder in self.folders:
            yield from folder.archives

    def _child(self, token: Any, kind: Any, life: Life) -> Any:
        if kind is not Folder:
            return super()._child(token, kind, life)
        return self._parents.setdefault(token, Folder(token, life, self))

    def remove(self) -> None:
        """Takes the project off the database's list; its files and archives stay."""
        self.database._destroy(self, lib.DestroyProject)

    # Where things are ----------------------------------------------------------------------------

    @property
    def configuration_file(self) -> Optional[pathlib.Path]:
        """The file that settles how its archives are treated; None if the database names none."""
        return self._path(lib.GetProjectCfgFile)

    @property
    def work_directory(self) -> Optional[pathlib.Path]:
        """Where the present user's files are; None, which may also be set, if nobody said."""
        return self._path(lib.GetProjectPrivateDir)

    @work_directory.setter
    def work_directory(self, directory: Optional[pathlib.Path]) -> None:
        self._set(lib.SetProjectPrivateDir, lib.GetProjectPrivateDir, directory)

    @property
    def team_work_directory(self) -> Optional[pathlib.Path]:
        """Where the team's files are; None, which may also be set, if nobody said."""
        return self._path(lib.GetProjectPublicDir)

    @team_work_directory.setter
    def team_work_directory(self, directory: Optional[pathlib.Path]) -> None:
        self._set(lib.SetProjectPublicDir, lib.GetProjectPublicDir, directory)

    @property
    def archive_directories(self) -> List[pathlib.Path]:
        """Where archives are looked for; new ones go to the first."""
        texts = self._bytes(lib.GetProjectVCSDirs).split(b";")
        return [path for path in map(native_path, filter(None, texts)) if path is not None]

    @archive_directories.setter
    def archive_directories(self, directories: List[pathlib.Path]) -> None:
        if isinstance(directories, (str, bytes, os.PathLike)):
            raise TypeError("archive directories are a list")
        paths = [path_bytes(each) for each in directories]
        for path in paths:
            if b";" in path:
                raise DatabaseError("%s can't be stored: \";\" is between directories"
                                    % decoded(path))
        self._set(lib.SetProjectVCSDirs, lib.GetProjectVCSDirs, *paths)
        self.database._forget_configuration()

    def _set(self, change: Any, query: Any, *directories: Optional[PathText]) -> None:
        text = b";".join(path_bytes(each) for each in directories if each is not None)
        with LOCK:
            self._ask(change, text)
            message = last_message()
            if self._bytes(query) != text:
                raise DatabaseError(message or "%r can't be stored" % decoded(text))

    def _path(self, function: Any) -> Optional[pathlib.Path]:
        return native_path(self._bytes(function))

    # Configuration -------------------------------------------------------------------------------

    def _use(self) -> None:
        """Has the engine work with the project's configuration."""
        with LOCK:
            self._check()
            self.database._use(self)

    @property
    def user(self) -> str:
        """The present user, as the configuration knows him."""
        with LOCK:
            self._use()
            size = 1024
            name = ffi.new("char[]", size)
            check("user", lib.TrvsGetUserInfo, name, size, ffi.NULL, 0, ffi.NULL)
            return decoded(ffi.string(name))

    @property
    def directives(self) -> List[Directive]:
        """All that the configuration settles, defaults too, and which line says so."""
        with LOCK:
            self._use()
            found = fetch_list(self.name, 4, lib.TrvsListConfiguration)
            return [Directive(name, value, file, int(line)) for name, value, file, line in found]

    def set_directive(self, name: Text, value: Text) -> None:
        """Has the configuration file say it. Raises ConfigurationError, and changes nothing, if
        the directive can't have the value."""
        with LOCK:
            self._check()
            status = flat(lib.FoldapiSetDirective, self._token, encoded(name), encoded(value))
            if status != Status.DONE:
                subject = "%s %s=%s" % (self.name, as_text(name), as_text(value))
                raise error_of(Status.NO_MEMORY if status == -1 else status, subject)
            self.database._forget_configuration()

    @property
    def groups(self) -> Dict[str, str]:
        """The promotion model: the group that each one promotes to, "" for the top one."""
        with LOCK:
            self._use()
            names = [name for name, in fetch_list(self.name, 1, lib.TrvsQueryConfigurationItem,
                                                  lib.TRVS_ITEM_PROMOTION_GROUPS)]
            if len(names) == 1:
                return {names[0]: ""}
            model = dict(zip(names[::2], names[1::2]))
            model.update({name: "" for name in model.values() if name not in model})
            return model
