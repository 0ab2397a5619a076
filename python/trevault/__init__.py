"""Projects, files and archives of a trevault database.

    import trevault

    with trevault.open(public, private) as db:
        for archive in db.projects["Pump"].all_archives():
            print(archive.name_in_project, archive.tip.number, archive.status.locked_by_me)

`help(trevault.Archive)` tells what can be done with a file; docs/python.md is the guide.
"""
from ._native import lib
from .archive import Archive
from .database import Database, open
from .errors import (AccessError, CancelledError, ClosedError, ConfigurationError, DamagedError,
                     DatabaseError, EngineError, Error, ExistsError, GoneError, GroupError,
                     InUseError, InvalidError, LockError, NoMemoryError, NotFoundError, OlderError,
                     OvertakenError, PromotionError, Status, TextError, TriggerError,
                     UnchangedError, UnknownNameError, UnreadableError)
from .hooks import Hooks, TrevaultWarning
from .project import Archives, Folder, Project
from .values import (ArchiveStatus, Attributes, Content, Directive, Health, Ignore, Lock, Record,
                     Revision)

__version__ = "%d.%d.%d" % (lib.FOLDAPI_VERSION_MAJOR, lib.FOLDAPI_VERSION_MINOR,
                            lib.FOLDAPI_VERSION_PATCH)
__all__ = [
    "Archive", "ArchiveStatus", "Archives", "Attributes", "Content", "Database", "Directive",
    "Folder", "Health", "Hooks", "Ignore", "Lock", "Project", "Record", "Revision", "Status",
    "TrevaultWarning", "open",
    "AccessError", "CancelledError", "ClosedError", "ConfigurationError", "DamagedError",
    "DatabaseError", "EngineError", "Error", "ExistsError", "GoneError", "GroupError",
    "InUseError", "InvalidError", "LockError", "NoMemoryError", "NotFoundError", "OlderError",
    "OvertakenError", "PromotionError", "TextError", "TriggerError", "UnchangedError",
    "UnknownNameError", "UnreadableError",
]
