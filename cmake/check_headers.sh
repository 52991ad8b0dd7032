#!/usr/bin/env bash
# Every header compiles alone, with GCC and Clang, without a warning: the public ones in C++17,
# C++20 and C++23, those for the library's own use in C++20. No public header includes one of those;
# of the platform's, those that are installed count as public.
set -euo pipefail
cd "$(dirname "$0")/.."

compilers='g++ clang++' layer=''
[ "${1-}" != windows ] || { compilers=x86_64-w64-mingw32-g++-posix layer=ztk/platform/win32; }
export compilers

# The headers of a layer that are installed, as ztk/CMakeLists.txt names them.
installed=$(sed -n '/^ *ztk_public_layer_headers/,/)/p' ztk/CMakeLists.txt |
  grep -o 'ztk/platform/[a-z_/]*\.h')
export installed

check() {
  local header=$1 standards='c++17 c++20 c++2b'
  case $header in */internal/* | ztk/platform/*) standards=c++20 ;; esac
  if grep -qxF "$header" <<<"$installed"; then standards='c++17 c++20 c++2b'; fi
  for compiler in $compilers; do
    for standard in $standards; do
      "$compiler" -std="$standard" -fsyntax-only -I. -Wall -Wextra -Wpedantic -Werror \
        -x c++ - <<<"#include \"$header\"" ||
        { echo "$header: $compiler -std=$standard" >&2; return 1; }
    done
  done
}
export -f check
# Those of the dialog's plug-in include a toolkit's, which are not clean in that sense.
find ztk -path ztk/platform -prune -o -name '*.h' -print | sort |
  xargs -P 2 -I{} bash -c 'check {}'
if [ -n "$layer" ]; then
  find "$layer" -name '*.h' | sort | xargs -P 2 -I{} bash -c 'check {}'
  exit
fi
find ztk/platform \( -path ztk/platform/dialog -o -path ztk/platform/win32 \) -prune -o \
  -name '*.h' -print | sort | xargs -P 2 -I{} bash -c 'check {}'

if g++ -std=c++20 -I. -MM -x c++ ztk/ztk.h | grep -E '/internal/|ztk/platform/'; then
  echo "a public header includes an internal one, which is not installed" >&2
  exit 1
fi
for header in $installed; do
  if g++ -std=c++20 -I. -MM -x c++ "$header" | tr -s ' \\' '\n' | grep -E '/internal/|ztk/platform/' |
    grep -vxF "$installed"; then
    echo "$header, which is installed, includes one that is not" >&2
    exit 1
  fi
done
