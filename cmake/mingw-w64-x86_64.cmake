# Cross build for 64-bit Windows with Debian's MinGW-w64 (posix threads):
#   cmake -S . -B build-windows -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
# Programs built for the target run under Wine through scripts/wine-run.sh,
# so that CTest can run them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(STATTREE_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${STATTREE_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${STATTREE_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${STATTREE_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${STATTREE_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# A consumer of a package installed elsewhere sets the PACKAGE mode to BOTH.
foreach(kind LIBRARY INCLUDE PACKAGE)
  if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_${kind})
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
  endif()
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run.sh)
