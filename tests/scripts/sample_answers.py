"""Writes the expected answers of the sample database as the program `describe` shows them:

    sample_answers.py EXPECTED_JSON
"""
import json
import re
import sys

TESTS = (0x40, 0x1000, 0x1000, 0x1000, 0x1000)  # The status bits that the five tests look at.


def escaped(text):
    text = text.replace("\r", "\\r").replace("\n", "\\n").encode("latin-1")
    return re.sub(rb"[^ -~]", lambda match: b"\\x%02x" % ord(match[0]), text).decode()


def archive_lines(archive, indent):
    description = escaped(archive["description"])
    if len(description) > 99:
        description = "%d characters" % len(description)
    names = ("workfile", "qual_workfile", "full_workfile", "archive", "qual_archive")
    yield indent + " | ".join(escaped(archive[name]) for name in names)
    tests = "".join(str(int(archive["status"] & bit != 0)) for bit in TESTS)
    yield (indent + "  status %x %s, " % (archive["status"], tests) +
           "{revisions} revisions, {locks} locks ({lockers}), access ({access}), ".format(**archive) +
           "created %x, (%s)" % (archive["creation_time"] & 0xFFFFFFFF, description))


def archives_lines(archives, indent):
    def path_and_name(archive):
        return archive["qual_workfile"].lower().rpartition("\\")

    for archive in sorted(archives, key=path_and_name):
        yield from archive_lines(archive, indent)


def by_name(item):
    return item["name"].encode("latin-1").lower()  # Of bytes: ASCII letters alone have a case.


def lines(expected):
    yield "{public_root} | {private_root}".format(**expected)
    for project in sorted(expected["projects"], key=by_name):
        values = (project[key] for key in ("name", "cfg", "public_dir", "private_dir"))
        yield " | ".join(map(escaped, values))
        for folder in sorted(project["folders"], key=by_name):
            yield "  " + folder["name"]
            yield from archives_lines(folder["archives"], "    ")
        yield from archives_lines(project["archives"], "  ")


with open(sys.argv[1], encoding="utf-8") as file:
    print("\n".join(lines(json.load(file))))
