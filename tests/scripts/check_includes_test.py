#!/usr/bin/env python3
"""Sees scripts/check_includes.py find what it is there to find."""
import pathlib
import subprocess
import sys
import tempfile

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check_includes.py"

# file, its include, allowed
CASES = [
    ("core/a.cpp", '"base/vstring.h"', True),
    ("base/a.cpp", '"core/object.h"', False),
    ("runtime/a.h", '"base/vstring.h"', False),
    ("runtime/a.cpp", '"kstrinin/kstrinin.h"', True),
    ("runtime/a.cpp", '"kstrinin/profiletext.h"', False),
    ("store/a.cpp", '"toolkit/bracket.h"', True),
    ("toolkit/a.cpp", '"store/52data.h"', False),
    ("domain/a.cpp", '"store/52data.h"', False),
    ("toolkit/a.cpp", '"btkf520/btkf520.h"', True),
    ("toolkit/a.cpp", '"btkf520/configuration/text.h"', False),
    ("btkf520/archive/a.cpp", '"btkf520/btkf520.h"', True),
    ("btkf520/archive/a.cpp", '"runtime/files.h"', False),
    ("btkf520/archive/a.cpp", '"btkf520/operations/task.h"', False),
    ("btkf520/archive/a.cpp", '"btkf520/configuration/text.h"', False),
    ("btkf520/configuration/a.cpp", '"btkf520/archive/model.h"', False),
    ("btkf520/operations/a.cpp", '"btkf520/archive/model.h"', True),
    ("btkf520/operations/a.cpp", '"btkf520/configuration/text.h"', True),
    ("btkf520/operations/a.cpp", '"btkf520/interface/boundary.h"', False),
    ("btkf520/operations/a.cpp", '"dates/reader.h"', True),
    ("dates/a.cpp", '"runtime/mbstring.h"', False),
    ("btkf520/interface/a.cpp", '"btkf520/operations/task.h"', True),
    ("kstrinin/a.cpp", '"btkf520/configuration/text.h"', False),
    ("core/a.cpp", '"foldapi/foldapi.h"', False),
    ("api/a.cpp", '"foldapi/foldapi.h"', True),
    ("core/a.cpp", '"object.h"', False),
    ("core/a.cpp", "<vector>", True),
    ("core/a.cpp", "<sys/stat.h>", False),
    ("runtime/files.cpp", "<filesystem>", False),
    ("os/file_posix.cpp", "<filesystem>", True),
    ("os/file.h", "<fcntl.h>", False),
    ("core/file_posix.cpp", "<fcntl.h>", False),
    ("os/a.cpp", '"runtime/files.h"', False),
    ("kstrinin/a.cpp", '"os/sibling.h"', True),
    ("store/a.cpp", '"os/program.h"', True),
    ("store/a.cpp", '"os/sibling.h"', False),
    ("core/a.cpp", '"os/file.h"', False),
    ("unknown/a.cpp", "<vector>", False),
]

failures = 0
for file, header, allowed in CASES:
    with tempfile.TemporaryDirectory() as directory:
        path = pathlib.Path(directory, file)
        path.parent.mkdir(parents=True)
        path.write_text("#include <string>\n  # include %s\n" % header)
        run = subprocess.run([sys.executable, SCRIPT, directory], capture_output=True, text=True)
        if (run.returncode == 0) != allowed or (run.stdout == "") != allowed:
            failures += 1
            print("%s with %s: %d %s" % (file, header, run.returncode, run.stdout + run.stderr))
sys.exit(1 if failures else 0)
