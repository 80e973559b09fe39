# Cross-builds for 64-bit Windows with Debian's MinGW-w64 (posix threads:
# std::thread needs them). Libraries are found only under the MinGW sysroot
# and the prefixes named in CMAKE_FIND_ROOT_PATH on the command line (the
# cross-built protobuf runtime and GoogleTest), never in the host's /usr.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Programs built here run under Wine (test discovery, ctest), in a Wine
# prefix of the build directory's own, quiet.
find_program(GCUSCHEMA_WINE64 NAMES wine64 PATHS /usr/lib/wine)
if(GCUSCHEMA_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR
      env "WINEPREFIX=${CMAKE_BINARY_DIR}/wine" WINEDEBUG=-all "${GCUSCHEMA_WINE64}")
endif()
