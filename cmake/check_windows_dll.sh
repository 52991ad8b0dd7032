#!/usr/bin/env bash
# What the DLL asks of the system: kernel32, advapi32, and the C and C++ runtime; whatever else it
# needs is loaded when it is used. And what it offers is what the accepted list says, one line for
# each export; `check_windows_dll.sh --accept DLL` writes that list.
set -euo pipefail

accept=
[ "$1" != --accept ] || { accept=yes; shift; }
dll=$1
accepted="$(dirname "$0")/windows_exports.txt"
cpu=$(x86_64-w64-mingw32-objdump -f "$dll" | sed -n 's/^architecture: \([^,]*\),.*/\1/p')

bad=$(x86_64-w64-mingw32-objdump -p "$dll" | sed -n 's/^\tDLL Name: //p' | tr 'A-Z' 'a-z' |
  grep -vxE 'kernel32\.dll|advapi32\.dll|msvcrt\.dll|ucrtbase\.dll|api-ms-win-crt-.*\.dll|libstdc\+\+-6\.dll|libgcc_s_(seh|dw2)-1\.dll|libwinpthread-1\.dll' || true)
[ -z "$bad" ] || { echo "check_windows_dll: imports $bad" >&2; exit 1; }

[ "$cpu" = i386:x86-64 ] || exit 0  # The other names sizes in another way.
exports() {
  x86_64-w64-mingw32-objdump -p "$dll" | awk '
    /^\[Ordinal\/Name Pointer\] Table/ { on = 1; next }
    on && NF == 0 { exit }
    on { print $NF }' | LC_ALL=C sort
}
if [ -n "$accept" ]; then
  exports >"$accepted"
  echo "$accepted: $(wc -l <"$accepted") exports"
elif [ -f "$accepted" ]; then
  diff -u "$accepted" <(exports) ||
    { echo "check_windows_dll: the exports are not those accepted" >&2; exit 1; }
fi
