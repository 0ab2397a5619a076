#!/usr/bin/env python3
"""Compares what Windows libraries and programs import and export with what they may:
check_dlls.py MACHINE BUILD_DIR SOURCE_DIR.

They may need what every Windows has, and one another. The 32-bit foldapi.dll has exactly the names
of src/api/exports.def; elsewhere names are the plain ones of both lists. btkf520.dll has all that its
header declares.
"""
import pathlib
import re
import subprocess
import sys

machine, build, source = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
SYSTEM = {"kernel32.dll", "msvcrt.dll", "advapi32.dll", "shell32.dll", "user32.dll"}
OURS = {"foldapi.dll", "btkf520.dll"}
complaints = []


def headers(path):
    command = [machine + "-w64-mingw32-objdump", "-p", str(path)]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def exports(path):
    table = headers(path).split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
    return set(re.findall(r"^\s*\[ *\d+\] (?:\+base\[ *\d+\] +(?:[0-9a-f]+ )?)?(\S+)$", table, re.M))


def compare(name, found, wanted):
    complaints.extend("%s exports %s" % (name, each) for each in sorted(found - wanted))
    complaints.extend("%s lacks %s" % (name, each) for each in sorted(wanted - found))


programs = [path for path in build.iterdir() if path.suffix in (".dll", ".exe")]
for path in programs:
    needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers(path))}
    complaints += ["%s needs %s" % (path.name, each) for each in sorted(needed - SYSTEM - OURS)]
if not OURS <= {path.name for path in programs}:
    complaints.append("a library is missing")

lists = [re.findall(r"^\s+(\S+) = (\w+)$", (source / "src/api" / name).read_text(), re.M)
         for name in ("exports.def", "further_exports.def")]
if machine == "i686":
    wanted = {decorated for decorated, _ in lists[0]}
else:
    wanted = {plain for entries in lists for _, plain in entries}
compare("foldapi.dll", exports(build / "foldapi.dll"), wanted)
text = (source / "include/btkf520/btkf520.h").read_text()
declared = set(re.findall(r"^TRVS_EXPORT [^(;]*?(\w+)\(", text, re.M))
compare("btkf520.dll", exports(build / "btkf520.dll"), declared)
print("\n".join(complaints) or "%s: %d names, %d programs" % (machine, len(wanted), len(programs)))
sys.exit(1 if complaints else 0)
