# Builds for 32-bit Windows, with Debian's mingw-w64.
set(WINDOWS_MACHINE i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
