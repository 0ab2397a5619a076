"""Makes the extension trevault._native from the C headers: `python3 build_native.py DIRECTORY`.

The headers are the only place where functions are declared: what cffi reads is made of them, text
without comments and macros. They come from $FOLDAPI_INCLUDE, else from a source distribution, the
checkout or where pkg-config or the compiler knows them. The libraries come from $FOLDAPI_LIBRARIES,
and are found there later, too; else from where pkg-config or the linker knows them.
"""
import os
import pathlib
import re
import subprocess
import sys

import cffi

HERE = pathlib.Path(__file__).resolve().parent
HEADERS = ("foldapi/foldapi.h", "btkf520/btkf520.h")

CALLBACK = re.compile(r"^typedef int32_t \(\*Trvs(\w+)Callback\)\((.*?)\);", re.M | re.DOTALL)
CONSTANT = re.compile(r"^#define ((?:FOLDAPI|TRVS)_\w+) (?:0x)?[\dA-F]+ *$", re.MULTILINE)
MACRO = re.compile(r"\b(?:FOLDAPI_EXPORT|FOLDAPI_CALL|TRVS_EXPORT)\b ?")
DIRECTIVE = re.compile(r"^#(?:.*\\\n)*.*$", re.MULTILINE)
FOR_CPLUSPLUS = re.compile(r"^#ifdef __cplusplus\n.*?^#endif$", re.MULTILINE | re.DOTALL)


def include_directory():
    places = [HERE / "include", HERE.parent / "include"]
    if "FOLDAPI_INCLUDE" in os.environ:
        places.insert(0, pathlib.Path(os.environ["FOLDAPI_INCLUDE"]))
    for place in [*places, *map(pathlib.Path, _pkg_config("--variable=includedir"))]:
        if all((place / header).exists() for header in HEADERS):
            return place
    return pathlib.Path("/usr/include")


def _pkg_config(*words):
    """The words that pkg-config says, none where it doesn't know the libraries."""
    try:
        said = subprocess.run(["pkg-config", *words, "foldapi", "btkf520"], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    except (OSError, subprocess.CalledProcessError):
        return []
    return said.stdout.split()


def places_of_libraries():
    """Where the linker looks, and where the loader looks later."""
    if "FOLDAPI_LIBRARIES" in os.environ:
        return [[os.environ["FOLDAPI_LIBRARIES"]]] * 2
    return [sorted(set(_pkg_config("--variable=libdir"))), []]


def declarations(text):
    """What cffi can read of a header."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    constants = ["#define %s ..." % name for name in CONSTANT.findall(text)]
    text = DIRECTIVE.sub("", FOR_CPLUSPLUS.sub("", text))
    return "\n".join([MACRO.sub("", text), *constants])


def callbacks(text):
    """Python functions for all that the engine may call, each of the type that the header has.

    One type serves two questions, so it gets two functions.
    """
    for name, arguments in CALLBACK.findall(re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)):
        for each in ("Overwrite", "MoveLabel") if name == "Confirm" else (name,):
            yield 'extern "Python" int32_t on%s(%s);' % (each, arguments)


def builder():
    """The cffi.FFI that setuptools and main() build."""
    include = include_directory()
    texts = [(include / header).read_text() for header in HEADERS]
    ffi = cffi.FFI()
    for text in texts:
        ffi.cdef(declarations(text))
    ffi.cdef("\n".join(callbacks(texts[-1])))
    ffi.cdef("int32_t trevaultResolvePath(const char*, char*, int32_t);")
    linked, loaded = places_of_libraries()
    ffi.set_source("trevault._native", (HERE / "paths.c").read_text(), include_dirs=[str(include)],
                   libraries=["foldapi", "btkf520"], library_dirs=linked,
                   runtime_library_dirs=loaded)
    return ffi


if __name__ == "__main__":
    builder().compile(tmpdir=sys.argv[1])
