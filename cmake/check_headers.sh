#!/usr/bin/env bash
# Every public header compiles alone, in C++17 and C++20, with GCC and Clang, without a warning.
set -euo pipefail
cd "$(dirname "$0")/.."

check() {
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      "$compiler" -std=$standard -fsyntax-only -I. -Wall -Wextra -Wpedantic -Werror \
        -x c++ - <<<"#include \"$1\"" || { echo "$1: $compiler -std=$standard" >&2; return 1; }
    done
  done
}
export -f check
# Those of the dialog's plug-in include a toolkit's, which are not clean in that sense.
find ztk -path ztk/platform/dialog -prune -o -name '*.h' -print | sort | xargs -P 2 -I{} bash -c 'check {}'
