"""The sample database through the package, against the answers that come with it:
sample_test.py MAKE_SAMPLE."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import trevault
from trevault.values import unpacked

MAKE_SAMPLE = os.path.abspath(sys.argv.pop())


def by_path(archive):
    return archive["qual_workfile"].lower().rpartition("\\")


def by_name(item):
    return item["name"].encode("latin-1").lower()


def answer(question):
    try:
        return question()
    except trevault.UnreadableError:
        return "unreadable"


class Sample(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.top = pathlib.Path(scratch.name).resolve()
        subprocess.run([sys.executable, MAKE_SAMPLE, self.top], check=True,
                       stdout=subprocess.DEVNULL)
        os.environ["KSTR_INI"] = str(self.top / "KSTR.INI")
        self.expected = json.loads((self.top / "expected.json").read_text())

    def native(self, text):
        return self.top / text.partition("V:\\")[2].replace("\\", "/")

    def told(self, archive):
        record = archive.record
        known = map(answer, (
            lambda: archive.revision_count, lambda: archive.lock_count,
            lambda: ",".join(archive.lockers), lambda: ",".join(archive.access),
            lambda: archive.description, lambda: archive.created))
        return [record.workfile, record.qualified_workfile, record.full_workfile, record.archive,
                record.qualified_archive, int(archive.status), archive.status.readable, *known]

    @staticmethod
    def wanted(archive):
        names = [archive[key] for key in ("workfile", "qual_workfile", "full_workfile", "archive",
                                          "qual_archive", "status", "readable")]
        if not archive["readable"]:
            return names + ["unreadable"] * 6
        return names + [archive[key] for key in ("revisions", "locks", "lockers", "access",
                                                 "description")] + [
            unpacked(archive["creation_time"])]

    def compare(self, archives, holder):
        self.assertEqual([self.wanted(each) for each in sorted(archives, key=by_path)],
                         [self.told(each) for each in holder.archives])
        for each in archives:
            found = holder.archives[each["qual_workfile"]]
            self.assertEqual(each["workfile"], found.name)
            path = str(self.native(each["qual_archive"]))
            self.assertEqual(path.lower(), str(found.path).lower())

    def test_walk(self):
        with trevault.open(encoding="latin-1") as db:
            self.assertEqual((self.top / "pub", self.top / "prv"), (db.public, db.private))
            projects = sorted(self.expected["projects"], key=by_name)
            self.assertEqual([each["name"] for each in projects],
                             [each.name for each in db.projects])
            for wanted, project in zip(projects, db.projects):
                self.assertEqual(
                    [self.native(wanted[key]) for key in ("public_dir", "private_dir", "cfg")],
                    [project.team_work_directory, project.work_directory,
                     project.configuration_file])
                folders = sorted(wanted["folders"], key=by_name)
                self.assertEqual([each["name"] for each in folders],
                                 [each.name for each in project.folders])
                for folder, found in zip(folders, project.folders):
                    self.compare(folder["archives"], found)
                self.compare(wanted["archives"], project)
            self.assertEqual(8, len(list(db.projects["Motor Control"].all_archives())))


if __name__ == "__main__":
    unittest.main()
