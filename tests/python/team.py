"""A database of a test: two files in a project and one in its folder, and a profile of its own."""
import os
import pathlib
import tempfile
import unittest

import trevault

FOLDER = b"[FORMAT=TRVS_GUI]\r\nVersion=5.2\r\n\r\n"


class TeamTest(unittest.TestCase):
    hooks = None
    encoding = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.top = pathlib.Path(scratch.name).resolve()
        os.environ["KSTR_INI"] = str(self.top / "KSTR.INI")
        self.work = self.top / "work"
        self.work.mkdir()
        self.db = self.open(create=True)
        self.addCleanup(lambda: self.db.close())
        self.project = self.db.create_project("Pump", self.work)
        self.valve = self.project.add(self.write("src/valve.c", "int a;\n"), message="First")
        self.pump = self.project.add(self.write("pump.c", "int b;\n"), message="First")

    def open(self, **more):
        return trevault.open(self.top / "pub", self.top / "prv", hooks=self.hooks,
                             encoding=self.encoding, **more)

    def write(self, name, text):
        path = self.work / name
        path.parent.mkdir(exist_ok=True)
        if path.exists():
            path.chmod(0o644)
        path.write_text(text)
        return path

    def change(self, archive, text, **more):
        """Checks a text in and gives the revision's number."""
        self.write(archive.record.qualified_workfile, text)
        return archive.check_in(message="Changed", lock=True, **more)

    def make_folder(self):
        """As another program does; gives the folder."""
        directory = self.project.configuration_file.parent
        (directory / "src").mkdir()
        (directory / "src" / "trvsfold.pub").write_bytes(FOLDER)
        with open(directory / "trvsfold.pub", "ab") as file:
            file.write(b"[FOLDER=src]\r\nDIR=src\r\nWKDIR=src\r\n\r\n")
        self.project.refresh()
        return self.project.folders["src"]
