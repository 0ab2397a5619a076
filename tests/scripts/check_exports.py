#!/usr/bin/env python3
"""Compares a library's dynamic symbols with its export lists:
check_exports.py LIBRARY DEF_FILE FURTHER_DEF_FILE.

A line of a list is "_Name@N = Name", N being 4 bytes for each argument that the header declares.
The names in the second list, and no others, begin with "Foldapi". The library's own calls must not
go through the symbol table, where a program may stand in front with a function of the same name.
"""
import pathlib
import re
import subprocess
import sys

library, *def_files = sys.argv[1:]
header = pathlib.Path(def_files[0]).parents[2] / "include/foldapi/foldapi.h"


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


lists = [re.findall(r"^\s+_(\w+)@(\d+) = (\w+)$", pathlib.Path(f).read_text(), re.M) for f in def_files]
exported = {line.split()[-1] for line in output("nm", "-D", "--defined-only", library).splitlines()}
looked_up = set(re.findall(r" (\w+)(?:@\S+)? \+ [0-9a-f]+$", output("readelf", "-rW", library), re.M))
declarations = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
declared = {name: 4 * len([a for a in arguments.split(",") if a.strip() != "void"])
            for name, arguments in re.findall(r"FOLDAPI_EXPORT[^;(]*?(\w+)\(([^)]*)\);", declarations)}

listed = [entry for entries in lists for entry in entries]
names = {plain for _, _, plain in listed}
complaints = ["exported, not listed: " + n for n in sorted(exported - names)]
complaints += ["listed, not exported: " + n for n in sorted(names - exported)]
complaints += ["declared, not listed: " + n for n in sorted(declared.keys() - names)]
complaints += ["called through the symbol table: " + n for n in sorted(exported & looked_up)]
for decorated, size, plain in listed:
    if decorated != plain or declared.get(plain) != int(size):
        complaints.append("wrong decoration: _%s@%s = %s" % (decorated, size, plain))
for further, entries in enumerate(lists):
    complaints += ["in the wrong list: " + n for _, _, n in entries if n.startswith("Foldapi") != bool(further)]
if len(listed) != len(names) or not all(lists):
    complaints.append("a list is empty, or a name is listed twice")
if not looked_up:
    complaints.append("no relocations found")
print("\n".join(complaints) or "%d names" % len(names))
sys.exit(1 if complaints else 0)
