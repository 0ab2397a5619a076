"""The package from outside: what lives how long, what is asked and told, threads, groups."""
import copy
import datetime
import os
import pickle
import shutil
import subprocess
import sys
import threading
import unittest
import warnings

import trevault
from team import TeamTest
from trevault._native import ffi, lib


class Lives(TeamTest):
    def test_what_was_found_ends_with_what_it_was_found_in(self):
        folder = self.make_folder()
        here = self.project.archives["pump.c"]
        inside = folder.add_existing("gate.c", self.top / "gate.c_v")
        questions = {
            "archive": lambda: here.status, "its record": lambda: here.name,
            "its tree": lambda: here.revisions, "its content": lambda: here.read(),
            "its change": lambda: here.label("A"), "in a folder": lambda: inside.name,
            "the folder's files": lambda: list(folder.archives), "folder": lambda: folder.name,
        }
        above = {"project": lambda: self.project.name, "search": lambda: self.project.archives["x"],
                 "directives": lambda: self.project.directives, "user": lambda: self.project.user,
                 "projects": lambda: list(self.db.projects), "root": lambda: self.db.public,
                 "new": lambda: self.db.create_project("New", self.work),
                 "group": lambda: self.db.group().__enter__()}
        files = self.project.archives
        above["files"] = lambda: len(files)
        before, tip = here.revisions, here.tip
        walk = iter(files)
        next(walk)
        self.project.refresh()
        with self.assertRaises(trevault.ClosedError):
            next(walk)
        self.assert_closed(questions)
        self.assertEqual(tip, self.project.archives["pump.c"].tip)
        self.db.close()
        self.assert_closed({**questions, **above})
        self.assertEqual("<Archive, closed>", repr(here))
        self.assertEqual("First", before[0].message)  # A value stays.
        self.db.close()
        self.db = self.open()  # Not the old one come back.
        self.assert_closed({**questions, "project": above["project"]})

    def assert_closed(self, questions):
        for name, question in questions.items():
            with self.subTest(name), self.assertRaises(trevault.ClosedError):
                question()

    def test_what_was_removed_is_gone_for_all_who_know_it(self):
        twin = self.project.archives["pump.c"]
        self.assertEqual((self.pump, hash(self.pump)), (twin, hash(twin)))
        self.pump.remove()
        for question in (lambda: twin.name, lambda: twin.status, lambda: twin.revision_count,
                         lambda: twin.lock(), lambda: twin.remove(), lambda: self.pump.path):
            with self.assertRaises(trevault.GoneError):
                question()
        self.assertNotIn("pump.c", self.project.archives)
        self.make_folder().remove()
        self.project.remove()
        with self.assertRaises(trevault.GoneError):
            list(self.project.archives)
        self.assertEqual(0, len(self.db.projects))

    def test_one_database_at_a_time_and_none_by_mistake(self):
        with self.assertRaisesRegex(trevault.Error, "is open in this process"):
            self.open()
        self.db.close()
        with self.assertRaisesRegex(TypeError, "hooks"):
            trevault.open(self.top / "pub", self.top / "prv", hooks=trevault.Hooks)
        with self.assertRaisesRegex(trevault.DatabaseError, "no project database in .*/pbu"):
            trevault.open(self.top / "pbu", self.top / "prv")
        self.assertFalse((self.top / "pbu").exists())
        damaged = self.top / "pub/Pump.prj/trvsfold.pub"
        damaged.write_bytes(b"\0garbage")
        self.db = self.open()
        with self.assertRaisesRegex(trevault.DatabaseError, "."):
            list(self.db.projects["Pump"].archives)

    def test_a_child_process_leaves_its_parents_database_alone(self):
        def in_child(question):
            child = os.fork()
            if child != 0:
                return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
            try:
                os._exit(question() is not None)
            except trevault.ClosedError:
                os._exit(2)
            except BaseException as error:
                os._exit(3 if "amid a change" in str(error) else 4)

        def open_own():
            with self.open() as own:
                own.projects["Pump"].archives["pump.c"].label("CHILD")

        for question, status in ((lambda: self.pump.tip, 2), (self.db.group().__enter__, 2),
                                 (self.db.close, 0), (open_own, 0)):
            self.assertEqual(status, in_child(question))
        with self.db.group():
            self.pump.label("A")
            self.assertEqual(3, in_child(open_own))
            self.pump.label("B")
        self.assertEqual({"CHILD", "A", "B"}, set(self.pump.labels))

    def test_objects_stay_here_and_values_travel(self):
        for each in (self.db, self.project, self.pump, self.project.archives):
            for carry in (pickle.dumps, copy.deepcopy):
                with self.assertRaisesRegex(TypeError, "belong to the open database"):
                    carry(each)
        with self.assertRaises(trevault.NotFoundError) as caught:
            self.pump.read("1.7")
        group = trevault.GroupError([caught.exception])
        for value in (caught.exception, group, self.pump.tip, trevault.Status(7777)):
            again = pickle.loads(pickle.dumps(value))
            self.assertEqual((type(value), str(value)), (type(again), str(again)))
        self.assertEqual(trevault.Status.NO_REVISION,
                         pickle.loads(pickle.dumps(group)).failures[0].status)

    def test_loops_leave_nothing_open(self):
        for _ in range(3):
            for archive in self.project.archives:
                break
            for archive in self.project.archives:  # Walks of one parent, one in the other.
                self.assertEqual(["pump.c", "valve.c"], [each.name for each in
                                                         self.project.archives])
        token = self.project._token
        self.assertEqual(2, lib.OpenProject(token))
        lib.CloseProject(token)

    def test_opens_and_closes_leak_nothing(self):
        if sys.flags.dev_mode or "ASAN_OPTIONS" in os.environ:
            self.skipTest("takes minutes there")
        self.db.close()
        times = int(os.environ.get("TREVAULT_OPENS", "100000"))

        def memory():
            with open("/proc/self/statm") as file:
                return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

        for count in range(times):
            if count == times // 10:
                before, files = memory(), len(os.listdir("/proc/self/fd"))
            with self.open() as db:
                if count % 100 == 0:
                    archive = db.projects["Pump"].archives["pump.c"]
                    self.assertEqual(("1.0", b"int b;\n"), (archive.tip.number, archive.read()))
        self.assertLess(memory() - before, 1 << 20)
        self.assertEqual(files, len(os.listdir("/proc/self/fd")))


class Work(TeamTest):
    def test_a_revision_comes_and_tells(self):
        self.assertEqual(trevault.ArchiveStatus.READABLE | trevault.ArchiveStatus.HAS_CHILDREN,
                         self.pump.status)
        self.pump.lock(note="Limit")
        self.assertTrue(self.pump.status.locked_by_me)
        lock, = self.pump.locks
        self.assertEqual(("1.0", "Limit", self.project.user), (lock.revision, lock.note, lock.user))
        self.write("pump.c", "int b;\nint c;\n")
        self.assertEqual(["@@ -1 +1,2 @@", " int b;", "+int c;"], self.pump.diff()[2:])
        self.assertEqual("1.1", self.pump.check_in(message="More", label="REL"))
        self.assertEqual(("1.1", "More", ("REL",), "1"), (
            self.pump.tip.number, self.pump.tip.message, self.pump.tip.labels,
            self.pump.revision("REL").branch))
        self.assertEqual(b"int b;\n", self.pump.read("1.0"))
        self.assertEqual("1.0", self.pump.find(self.write("old", "int b;\n")))
        self.assertIsNone(self.pump.find(self.write("old", "int\n")))
        self.assertEqual([7, 14], [each.size for each in self.pump.contents])
        self.pump.label("NEXT", floating=True)
        self.assertEqual({"REL": "1.1", "NEXT": "1"}, self.pump.labels)
        self.pump.description = "Büro"
        self.pump.allow(self.project.user)
        self.assertEqual(("Büro", (self.project.user,)), (self.pump.description, self.pump.access))
        self.pump.attributes |= trevault.Attributes.KEYWORDS
        self.assertIn(trevault.Attributes.KEYWORDS, self.pump.attributes)
        self.assertTrue(self.pump.verify())
        self.assertLess(abs((self.pump.created - self.pump.revision("1.0").time)).seconds, 3)

    def test_files_come_out_where_they_may(self):
        self.assertEqual(self.work / "pump.c", self.pump.check_out(overwrite=True))
        out = self.pump.check_out(self.top / "new/place.c")
        self.assertEqual(("int b;\n", 0o444), (out.read_text(), out.stat().st_mode & 0o777))
        self.assertEqual(self.top / "pump.c", self.pump.check_out(self.top, writable=True))
        out.chmod(0o644)
        out.write_text("mine")
        for overwrite in (False, None):
            with self.assertRaises(trevault.ExistsError):
                self.pump.check_out(out, overwrite=overwrite)
        self.assertEqual("mine", out.read_text())
        self.pump.check_out(out, overwrite=True, note="For me")
        self.assertEqual("For me", self.pump.locks[0].note)
        empty = self.write("empty", "")
        self.assertEqual(["+++ %s" % empty, "@@ -1 +0,0 @@", "-int b;"],
                         self.pump.diff(file=empty)[1:])
        foreign = self.project.add_existing("/srv/elsewhere.c", self.pump.path)
        with self.assertRaisesRegex(trevault.Error, "leads out of your own places"):
            foreign.check_out()

    def test_a_file_of_elsewhere_stays_as_it_is(self):
        built = self.write("built", "1\n")
        built.chmod(0o755)
        self.assertEqual("1.1", self.pump.check_in(built, "Build 1", lock=True))
        self.assertEqual(0o755, built.stat().st_mode & 0o777)
        with self.assertRaises(trevault.UnchangedError):
            self.pump.check_in(built, "Build 1", lock=True)
        self.assertEqual([], self.pump.locks)
        time = datetime.datetime(2026, 1, 2, 3, 4, 6, tzinfo=datetime.timezone.utc)
        for zone in (datetime.timezone.utc, datetime.timezone(datetime.timedelta(hours=5))):
            self.pump.check_in(built, "Then", lock=True, unchanged=True, time=time.astimezone(zone))
            self.assertEqual(time.astimezone().replace(tzinfo=None), self.pump.tip.time)
        self.pump.lock("1.0")
        with self.assertRaises(trevault.UnchangedError):
            self.pump.check_in(built, "Build 1", lock=True, revision="1.1")
        self.assertEqual(["1.0"], [each.revision for each in self.pump.locks])

    def test_names_keep_their_bytes(self):
        odd = os.fsdecode(b"B\xfcro.txt")
        archive = self.project.add(self.write(odd, "x"), message="New")
        self.assertEqual((odd, b"B\xfcro.txt"), (archive.name, archive.raw_name))
        self.assertEqual(self.work / odd, archive.workfile)
        self.assertEqual(archive, self.project.archives[b"B\xfcro.txt"])
        twin = self.project.add_existing("PUMP.C", self.top / "other_v")
        self.assertEqual((twin, self.pump), (self.project.archives["PUMP.C"],
                                             self.project.archives["pump.c"]))
        self.db.close()
        self.encoding = "cp1252"
        self.db = self.open()
        named = self.db.projects["Pump"].archives["Büro.txt"]
        self.assertEqual(("Büro.txt", self.work / odd), (named.name, named.workfile))
        self.assertEqual("Büro.txt", named.name_in_project)
        twin = self.db.projects["Pump"].add_existing("copy/" + named.name_in_project, named.path)
        self.assertEqual(b"B\xfcro.txt", twin.raw_name)
        calls = {"NUL": lambda: self.db.projects["Pump\0"],
                 "'日'.*cp1252": lambda: named.label("B日"),
                 "sur.*utf-8": lambda: named.check_out("sur\ud800")}
        for words, call in calls.items():
            with self.assertRaisesRegex(trevault.TextError, words):
                call()
        self.db.close()
        self.encoding = "utf-16"
        with self.assertRaisesRegex(ValueError, "ASCII"):
            self.open()

    def test_a_file_is_found_by_its_path(self):
        inside = self.make_folder().add_existing("gate.c", self.top / "gate.c_v")
        out = self.project.add_existing("../out.c", self.top / "out.c_v")
        self.assertEqual(["src/gate.c", str(self.top / "out.c")],
                         [each.name_in_project for each in (inside, out)])
        valve = self.project.archives[self.work / "src/valve.c"]
        self.assertEqual((valve, "src/valve.c"), (self.project.archives["src/valve.c"],
                                                  valve.name_in_project))
        self.assertEqual((inside, out), (inside.parent.archives[self.work / "src/gate.c"],
                                         self.project.archives[self.top / "out.c"]))
        for name in (0, None):
            with self.assertRaises(TypeError):
                self.project.archives[name]

    def test_directories_are_set_and_taken_away(self):
        for name in ("work_directory", "team_work_directory"):
            setattr(self.project, name, None)
            self.assertIsNone(getattr(self.project, name))
        self.assertEqual("pump.c", str(self.pump.workfile))
        for kind, value in ((TypeError, "/a"), (TypeError, None),
                            (trevault.DatabaseError, [self.top / "a;b"])):
            with self.assertRaises(kind):
                self.project.archive_directories = value

    def test_the_configuration_is_the_projects(self):
        os.environ["TEAM_USER"] = "ann"
        self.project.set_directive("USERID", "ENVIRONMENT TEAM_USER")
        self.project.set_directive("PROMOTE", "dev = test")
        self.assertEqual(("ann", {"dev": "test", "test": ""}),
                         (self.project.user, self.project.groups))
        self.change(self.pump, "int d;\n", group="dev")
        self.pump.promote("dev")
        self.assertEqual((("test",), "ann"), (self.pump.tip.groups, self.pump.tip.author))
        other = self.db.create_project("Other", self.top / "other")
        self.assertEqual(({}, {"dev": "test", "test": ""}),
                         (other.groups, self.project.groups))
        with self.assertRaises(trevault.ConfigurationError) as caught:
            self.project.set_directive("USERID", "nobody at all")
        self.assertEqual(trevault.Status.INVALID_LINE, caught.exception.status)


class Refusals(TeamTest):
    def test_statuses_are_those_of_the_header(self):
        names = ffi.typeof("TrvsStatus").relements
        self.assertEqual(names, {"TRVS_" + name: int(status)
                                 for name, status in trevault.Status.__members__.items()})
        for number in set(names.values()) - {lib.TRVS_DONE}:
            error = trevault.errors.error_of(number, "pump.c", ["why"])
            self.assertEqual("pump.c: %s: why" % ffi.string(lib.TrvsStatusText(number)).decode(),
                             str(error))
            plain = number in (lib.TRVS_INTERNAL_ERROR,)
            self.assertEqual(plain, type(error) is trevault.EngineError, error)
        self.assertEqual("x: unknown status", str(trevault.errors.error_of(9999, "x")))

    def test_each_says_why(self):
        self.change(self.pump, "int c;\n")
        self.pump.label("REL")
        cases = [
            (trevault.LockError, "not locked", lambda: self.pump.check_in(message="x",
                                                                          unchanged=True)),
            (trevault.NotFoundError, "no such revision", lambda: self.pump.read("1.7")),
            (trevault.NotFoundError, "label", lambda: self.pump.unlabel("RLE")),
            (trevault.ExistsError, "label", lambda: self.pump.label("REL", "1.0")),
            (trevault.InvalidError, "name", lambda: self.pump.label("a*b")),
            (trevault.UnknownNameError, "no archive 'pmup.c'",
             lambda: self.project.archives["pmup.c"]),
            (trevault.ExistsError, "has a record", lambda: self.project.add(self.work / "pump.c")),
            (trevault.NotFoundError, "workfile", lambda: self.project.add(self.work / "none.c")),
            (trevault.NotFoundError, "^pump.c, by .*/Text: no such workfile",
             lambda: self.pump.check_in("Text")),
            (trevault.NotFoundError, "by /none: no such workfile",
             lambda: self.pump.diff(file="/none")),
            (trevault.NotFoundError, "^src/valve.c: no such rev", lambda: self.valve.read("1.7")),
            (trevault.NotFoundError, "workfile",
             lambda: self.project.add(self.write("a\\b.c", "x"))),
            (trevault.DatabaseError, "must not contain",
             lambda: self.project.add(self.write("a]b.c", "x"))),
            (trevault.DatabaseError, "hold this name",
             lambda: self.project.add(self.write("dot./b.c", "x"))),
            (trevault.DatabaseError, "is a project",
             lambda: self.db.create_project("Pump", self.work)),
            (trevault.DatabaseError, ".", lambda: self.db.create_project("a]", self.work)),
        ]
        for kind, words, call in cases:
            with self.subTest(words), self.assertRaisesRegex(kind, words):
                call()
        self.assertEqual(2, len(self.project.archives))
        self.pump.path.unlink()
        self.assertFalse(self.pump.status)
        with self.assertRaises(trevault.UnreadableError):
            self.pump.revision_count
        with self.assertRaises(trevault.NotFoundError):
            self.pump.revisions

    def test_a_damaged_archive_is_told(self):
        self.change(self.pump, "".join("int b%d;\n" % each for each in range(1000)))
        raw = bytearray(self.pump.path.read_bytes())
        raw[len(raw) // 2] ^= 1
        self.pump.path.chmod(0o644)
        self.pump.path.write_bytes(raw)
        health = self.pump.verify()
        self.assertEqual((False, trevault.Status.NOT_AN_ARCHIVE),
                         (bool(health), health.status))


class Asking(trevault.Hooks):
    def __init__(self):
        self.asked = []
        self.answer = False

    def _say(self, *what):
        self.asked.append(what)
        return self.answer() if callable(self.answer) else self.answer

    def overwrite(self, file, archive):
        return self._say("overwrite", file.name)

    def move_label(self, label, archive):
        return self._say("move", label)

    def trigger(self, event, command):
        return self._say("trigger", event, command)

    def done(self, event, archive, file, about):
        self.asked.append(("done", event, about))


class Hooking(TeamTest):
    def setUp(self):
        self.hooks = Asking()
        super().setUp()
        self.hooks.asked.clear()

    def test_questions_are_asked_and_answers_count(self):
        self.change(self.pump, "int c;\n", label="REL")
        out = self.write("out.c", "mine")
        for answer, kind in ((False, trevault.ExistsError), (True, None)):
            self.hooks.answer = answer
            for call in (lambda: self.pump.check_out(out, overwrite=None),
                         lambda: self.pump.label("REL", "1.0", move=None)):
                self.assertEqual(kind, self.raised_by(call))
        self.assertEqual([("overwrite", "out.c"), ("move", "REL")] * 2,
                         [each for each in self.hooks.asked if each[0] != "done"])
        self.assertIn(("done", "CHECKIN", "1.1"), self.hooks.asked)
        self.assertEqual("1.0", self.pump.labels["REL"])

    @staticmethod
    def raised_by(call):
        try:
            call()
        except Exception as error:
            return type(error)
        return None

    def test_commands_of_a_shared_configuration_wait_for_a_yes(self):
        made = self.top / "made"
        self.project.set_directive("EVENTTRIGGER", "PRELOCK = touch %s" % made)
        with open(self.project.configuration_file) as file:
            self.assertIn("PRELOCK", file.read())
        self.project.configuration_file.chmod(0o666)  # Others can change it.
        with self.assertRaises(trevault.TriggerError):
            self.pump.lock()
        self.assertFalse(made.exists())
        self.hooks.answer = True
        self.pump.lock()
        self.assertTrue(made.exists())
        self.assertEqual([("trigger", "PRELOCK")], sorted({each[:2] for each in self.hooks.asked
                                                           if each[0] == "trigger"}))

    def test_what_a_hook_raises_comes_out_and_nothing_breaks(self):
        def fail():
            raise KeyboardInterrupt

        def use():
            return bool(self.pump.revisions)

        out = self.write("out.c", "mine")
        for answer, kind in ((fail, KeyboardInterrupt), (use, trevault.Error)):
            self.hooks.answer = answer
            with self.assertRaises(kind):
                self.pump.check_out(out, overwrite=None)
            self.assertEqual("mine", out.read_text())
        self.assertEqual("1.0", self.pump.tip.number)

    def test_a_line_that_is_left_out_warns(self):
        with open(self.project.configuration_file, "a") as file:
            file.write("NONSENSE\n")
        self.project.refresh()
        self.db._forget_configuration()
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            self.project.user
        self.assertIn("NONSENSE", str(caught[0].message))


class Groups(TeamTest):
    def test_changes_come_with_the_end_of_the_block(self):
        built = self.write("built", "1\n")
        built.chmod(0o755)
        other = self.db.create_project("Other", self.top / "other").add(self.write("x", "x"))
        with self.db.group():
            self.valve.label("A")
            self.assertEqual("", self.pump.check_in(built, "Build", lock=True))
            other.label("A")
            with self.assertRaises(trevault.Error):
                self.db.close()
            with self.assertRaises(trevault.Error), self.db.group():
                pass
        self.assertEqual(["1.1", ("A",), ("A",)], [self.pump.tip.number, self.valve.tip.labels,
                                                   other.tip.labels])
        self.assertEqual(0o755, built.stat().st_mode & 0o777)
        with self.assertRaises(ZeroDivisionError), self.db.group():
            self.valve.label("B")
            1 / 0
        self.assertIn("B", self.valve.labels)

    def test_what_did_not_get_there_is_told(self):
        with self.assertRaises(trevault.GroupError) as caught, self.db.group():
            self.valve.label("A")
            place = self.pump.check_out(self.top / "out/pump.c", lock=True)
            shutil.rmtree(place.parent)  # Its content would come now.
        self.assertEqual(1, len(caught.exception.failures))
        self.assertIn("pump.c", str(caught.exception))
        self.assertEqual(([], {"A": "1.0"}), (self.pump.locks, self.valve.labels))


class Adding(TeamTest):
    def test_many_are_added_and_each_stands_for_itself(self):
        files = [self.write("src/%d.c" % number, "int a;\n") for number in range(4)]
        self.assertEqual(files[:2], [each.workfile for each in
                                     self.project.add_all(files[:2], message="New", label="L")])
        bad = [self.work / "none.c", files[0], self.write("a]b.c", "x"), files[2]]
        with self.assertRaises(trevault.GroupError) as caught:
            self.project.add_all([*bad, files[3]])
        self.assertEqual([trevault.NotFoundError, trevault.ExistsError, trevault.DatabaseError],
                         [type(each) for each in caught.exception.failures])
        self.assertTrue(os.stat(bad[2]).st_mode & 0o200)
        self.assertEqual(6, len(self.project.archives))
        self.assertEqual([], list(self.top.rglob("a]b.c_v")))

        def some():
            yield self.write("begun.c", "x")
            raise KeyboardInterrupt

        with self.assertRaises(KeyboardInterrupt), self.db.group():
            self.project.add_all(some())
        self.assertEqual("1.0", self.project.archives["begun.c"].tip.number)
        with self.assertRaises(trevault.GroupError), self.db.group():
            self.project.add(self.write("lost.c", "x"), self.top / "lost/lost.c_v")
            self.project.add(self.write("kept.c", "x"))
            shutil.rmtree(self.top / "lost")
        self.assertEqual((False, True), ("lost.c" in self.project.archives,
                                         "kept.c" in self.project.archives))

    def test_a_folder_takes_files_of_its_directory(self):
        folder = self.make_folder()
        self.assertEqual(self.work / "src", folder.work_directory)
        added = folder.add(self.write("src/gate.c", "x"))
        self.assertEqual(("gate.c", "src/gate.c"), (added.record.qualified_workfile,
                                                    added.name_in_project))
        self.assertEqual(self.project.archive_directories[0] / "src/gate.c_v", added.path)
        with self.assertRaisesRegex(trevault.DatabaseError, "outside of <Folder 'src'>"):
            folder.add(self.write("gate.c", "x"))

    def test_a_shared_archive_is_told_by_its_file(self):
        twin = self.project.add_existing("twin//w.c", self.pump.path)
        self.assertEqual("twin/w.c", twin.name_in_project)
        with self.assertRaises(trevault.DatabaseError):
            self.project.add_existing("a]", self.pump.path)


class Threads(TeamTest):
    def test_they_wait_for_each_other_and_for_a_group(self):
        failures = []

        def work(archive, name):
            try:
                for count in range(20):
                    with self.db.group():
                        archive.label("%s%d" % (name, count))
                    self.assertEqual(2, len([each.status for each in self.project.archives]))
                    self.assertTrue(archive.read())
            except BaseException as error:
                failures.append(error)

        threads = [threading.Thread(target=work, args=arguments) for arguments in (
            (self.pump, "a"), (self.pump, "b"), (self.valve, "c"), (self.valve, "d"))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual([], failures)
        self.assertEqual((40, 40), (len(self.pump.labels), len(self.valve.labels)))

    def test_a_close_ends_the_loops_of_all(self):
        ends = []

        def work():
            try:
                while all((each.name, each.tip, each.status) for each in self.project.archives):
                    pass
            except BaseException as error:
                ends.append(type(error))

        threads = [threading.Thread(target=work) for _ in range(3)]
        for thread in threads:
            thread.start()
        self.db.close()
        for thread in threads:
            thread.join()
        self.assertEqual([trevault.ClosedError] * 3, ends)

    def test_others_run_while_one_waits_for_another_program(self):
        holder = subprocess.Popen(
            [sys.executable, "-c", "import fcntl, sys; file = open(sys.argv[1]);"
             "fcntl.flock(file, fcntl.LOCK_EX); print('held', flush=True); sys.stdin.read()",
             str(self.pump.path)], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        with holder:
            holder.stdout.readline()
            thread = threading.Thread(target=lambda: self.pump.label("A"))
            thread.start()
            count = sum(1 for _ in range(100000))  # With the lock of the interpreter.
            self.assertTrue(thread.is_alive())
            holder.stdin.close()
            thread.join()
        self.assertEqual((100000, {"A": "1.0"}), (count, self.pump.labels))


if __name__ == "__main__":
    unittest.main()
