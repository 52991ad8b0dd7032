#!/usr/bin/env bash
# consume_pkg_config.sh <compiler> <prefix>: builds the program of the folder "consumer" with what
# pkg-config says, and runs it. Its headers are then no system headers: warnings count.
set -euo pipefail
compiler=$1 prefix=$2
here=$(dirname "$0")

PKG_CONFIG_LIBDIR=$(dirname "$(find "$prefix" -name ztkbase.pc)")
export PKG_CONFIG_LIBDIR
work=$SCRATCH/consume/pkg-config-$compiler-$(md5sum <<<"$prefix" | cut -c1-6)
rm -rf "$work"
mkdir -p "$work"
build() { # <pkg-config name> <standard> <program> [<flag>]
  local flags
  read -ra flags <<<"$(pkg-config --cflags --libs "$1")"
  "$compiler" -std="c++$2" -Wall -Wextra -Wpedantic -Werror "$here/consumer/main.cpp" \
    -o "$work/consumer_$3" "${flags[@]}" ${4:-} -Wl,-rpath,"$(pkg-config --variable=libdir "$1")"
}
pkg-config --exact-version "$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' \
  "$BUILD/CMakeCache.txt")" ztkbase
build ztkbase 17 17
build ztkbase 20 20
build ztkbase 2b 23
! pkg-config --exists ztkbase-mac || build ztkbase-mac 20 mac -DWITH_MAC_PATHS
"$here/run_consumers.sh" "$work" "$prefix"
