#!/usr/bin/env bash
# What the Windows cross build and its tests need, only when missing: the
# MinGW-w64 tool chain, Wine, and GoogleTest built for the target from
# Debian's sources into PREFIX. Not part of `make deps`: only
# `make test-windows` calls it.
# Usage: install-windows-deps.sh PREFIX
set -euo pipefail
cd "$(dirname "$0")/.."

prefix="${1:?usage: install-windows-deps.sh PREFIX}"

bash scripts/install-deps.sh g++-mingw-w64-x86-64-posix wine64 googletest

if [ ! -f "$prefix/lib/cmake/GTest/GTestConfig.cmake" ]; then
  build="$prefix-build"
  cmake -S /usr/src/googletest -B "$build" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DCMAKE_CROSSCOMPILING_EMULATOR="" -DBUILD_GMOCK=OFF -DINSTALL_GTEST=ON
  cmake --build "$build" -j"${JOBS:-2}"
  cmake --install "$build"
  rm -rf "$build"
fi
