#!/usr/bin/env python3
"""Compares a library's dynamic symbols with its export list: check_exports.py LIBRARY DEF_FILE.

A line of the list is "_Name@N = Name", N being 4 bytes for each argument that the header declares.
"""
import pathlib
import re
import subprocess
import sys

library, def_file = sys.argv[1:]
header = pathlib.Path(def_file).parents[2] / "include/foldapi/foldapi.h"

listed = re.findall(r"^\s+_(\w+)@(\d+) = (\w+)$", pathlib.Path(def_file).read_text(), re.M)
nm = subprocess.run(["nm", "-D", "--defined-only", library], capture_output=True, text=True, check=True)
exported = {line.split()[-1] for line in nm.stdout.splitlines()}
declarations = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
declared = {name: 4 * len([a for a in arguments.split(",") if a.strip() != "void"])
            for name, arguments in re.findall(r"FOLDAPI_EXPORT[^;(]*?(\w+)\(([^)]*)\);", declarations)}

names = {plain for _, _, plain in listed}
complaints = ["exported, not listed: " + n for n in sorted(exported - names)]
complaints += ["listed, not exported: " + n for n in sorted(names - exported)]
complaints += ["declared, not listed: " + n for n in sorted(declared.keys() - names)]
for decorated, size, plain in listed:
    if decorated != plain or declared.get(plain) != int(size):
        complaints.append("wrong decoration: _%s@%s = %s" % (decorated, size, plain))
if len(listed) != len(names) or not names:
    complaints.append("the list is empty or has a name twice")
print("\n".join(complaints) or "%d names" % len(names))
sys.exit(1 if complaints else 0)
