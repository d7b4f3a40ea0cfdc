# Cross-building for 64-bit Windows with Debian's MinGW-w64 (posix threads, which
# std::thread and Qt need). Used to build Qt itself and, chained through Qt's qt-cmake,
# the game.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Our own libraries built for Windows (scripts/windows/build-miniupnpc.sh) lie outside MinGW's
# root: each prefix named in CMAKE_PREFIX_PATH is a root of its own, so that find_package()
# looks into it as it is instead of under /usr/x86_64-w64-mingw32.
list(APPEND CMAKE_FIND_ROOT_PATH ${CMAKE_PREFIX_PATH})
