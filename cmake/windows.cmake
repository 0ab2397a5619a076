# What both machines of Windows have in common. WINDOWS_ROOT has what is built for the machine beside
# this: zstd, and headers of libraries that are headers alone. `scripts/build_windows.sh` makes it.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES WINDOWS_ROOT)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${WINDOWS_MACHINE})
set(CMAKE_C_COMPILER ${WINDOWS_MACHINE}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${WINDOWS_MACHINE}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${WINDOWS_MACHINE}-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${WINDOWS_MACHINE}-w64-mingw32 ${WINDOWS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
