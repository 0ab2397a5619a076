"""What examples/walk.c asks of each archive, asked by the package; run by python_loop.cpp.

Prints how many archives, revisions and labels there are.
"""
import sys

import trevault

archives = revisions = labels = 0
with trevault.open(sys.argv[1], sys.argv[2]) as db:
    for project in db.projects:
        for archive in project.all_archives():
            archives += 1
            facts = (archive.name, archive.workfile, archive.path, archive.status, archive.lockers,
                     archive.revision_count, archive.lock_count, archive.created, archive.access,
                     archive.description)
            for revision in archive.revisions:
                revisions += 1
                labels += len(revision.labels)
print(archives, revisions, labels)
