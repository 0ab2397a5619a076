"""Builds the package and its extension. A source distribution gets the C headers along.

The version is that of the header, so that package and library are known to fit.
"""
import pathlib
import re
import shutil
import sys

import setuptools
from setuptools.command.sdist import sdist

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import build_native  # noqa: E402


def version():
    text = (build_native.include_directory() / build_native.HEADERS[0]).read_text()
    return ".".join(re.search(r"define FOLDAPI_VERSION_%s (\d+)" % part, text)[1]
                    for part in ("MAJOR", "MINOR", "PATCH"))


class SourceDistribution(sdist):
    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, files)
        for header in build_native.HEADERS:
            target = pathlib.Path(base_dir, "include", header)
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(build_native.include_directory() / header, target)


setuptools.setup(version=version(), cffi_modules=["build_native.py:builder"],
                 cmdclass={"sdist": SourceDistribution})
