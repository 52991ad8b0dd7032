#!/usr/bin/env bash
# A static build whose libraries are installed outside the prefix: CMake and pkg-config find both
# halves.
set -euo pipefail
here=$(dirname "$0")

work=$SCRATCH/absolute
rm -rf "$work"
cmake -S "$SOURCE" -B "$work/build" -G Ninja \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DBUILD_SHARED_LIBS=OFF \
  -DCMAKE_UNITY_BUILD=ON \
  -DZTK_BUILD_TESTS=OFF -DZTK_BUILD_EXAMPLES=OFF -DZTK_BUILD_DIALOG=OFF -DZTK_BUILD_TOOLS=OFF \
  -DCMAKE_INSTALL_PREFIX="$work/prefix" -DCMAKE_INSTALL_LIBDIR="$work/elsewhere/lib" >/dev/null
cmake --build "$work/build" >"$work/build.log" || { tail -n 40 "$work/build.log" >&2; exit 1; }
cmake --install "$work/build" >/dev/null
[ -e "$work/elsewhere/lib/libztkbase.a" ]
[ ! -e "$work/prefix/lib" ]

export BUILD=$work/build
"$here/consume.sh" find_package g++ "$work/elsewhere"
"$here/consume_pkg_config.sh" g++ "$work/elsewhere"
