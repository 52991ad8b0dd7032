#!/usr/bin/env bash
# Makes Wine's drive in a folder, once, as a Windows 10, and leaves its server running: starting one
# takes longer than twenty tests. `setup_wine.sh --stop FOLDER` ends the server.
# With ZTK_WINE_ROOT it is the Wine of the 32-bit system in that folder.
set -euo pipefail

if [ -n "${ZTK_WINE_ROOT-}" ]; then
  exec chroot "$ZTK_WINE_ROOT" env -u ZTK_WINE_ROOT ZTK_WINE_ARCH=win32 \
    "$(cd "$(dirname "$0")" && pwd)/setup_wine.sh" "$@"
fi
export WINEDEBUG=-all WINEARCH="${ZTK_WINE_ARCH-win64}" WINEDLLOVERRIDES="mscoree,mshtml="
if [ "$1" = --stop ]; then
  WINEPREFIX=$2 wineserver -k || true
  exit
fi
export WINEPREFIX=$1
[ ! -f "$WINEPREFIX/ready" ] || exit 0

mkdir -p "$WINEPREFIX"
exec 9>"$WINEPREFIX.lock"
flock 9
[ ! -f "$WINEPREFIX/ready" ] || exit 0
# A server that stays must not keep the pipe of whoever reads this output. (It fails where one runs.)
wineserver -p >/dev/null 2>&1 9>&- || true
wineboot -i >/dev/null 2>&1 9>&-
winecfg -v win10 >/dev/null 2>&1 9>&-
touch "$WINEPREFIX/ready"
