# Builds for 64-bit Windows, with Debian's mingw-w64.
set(WINDOWS_MACHINE x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
