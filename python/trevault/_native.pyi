# The extension that build_native.py makes. Its declarations are those of the C headers.
from typing import Any

ffi: Any
lib: Any
