#!/usr/bin/env bash
# Runs tests of the 32-bit build for Windows, in the named folders of tests/, under the Wine of an
# i386 system in a folder of its own (setup_wine32.sh). Ends on ctest's summary.
#
#   cmake/test_windows32.sh BUILD FOLDER...
set -euo pipefail
cd "$(dirname "$0")/.."

build=$1
shift
export ZTK_WINE_ROOT=$PWD/build/wine32-root
if [ "$(id -u)" -ne 0 ]; then
  echo "test_windows32: it needs root rights, for debootstrap, mount and chroot" >&2
  exit 1
fi

# What is mounted below is seen by these processes alone, and goes with them: whoever removes the
# folder removes nothing else.
if [ "${ZTK_HAS_OWN_MOUNTS-}" != yes ]; then
  ZTK_HAS_OWN_MOUNTS=yes exec unshare --mount --propagation private "$0" "$build" "$@"
fi
cmake/setup_wine32.sh "$ZTK_WINE_ROOT"
# Under the same paths there and here: what the programs are, and the runtime's DLLs.
for folder in "$PWD" /usr/lib/gcc/i686-w64-mingw32 /usr/i686-w64-mingw32 /dev; do
  mkdir -p "$ZTK_WINE_ROOT$folder"
  mount --bind "$folder" "$ZTK_WINE_ROOT$folder"
done
mount -t proc proc "$ZTK_WINE_ROOT/proc"
exec cmake/test_windows.sh "$build" "^($(IFS="|"; echo "$*"))\$"
