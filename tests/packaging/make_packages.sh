#!/usr/bin/env bash
# Makes the Debian packages, and compares their names with those that this build is to give.
set -euo pipefail
rm -rf "$BUILD/packages"
(cd "$BUILD" && cpack) >"$SCRATCH-cpack.log" 2>&1 || { cat "$SCRATCH-cpack.log" >&2; exit 1; }

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$BUILD/CMakeCache.txt")
expected=(libztkbase1 libztkbase-dev)
[ ! -e "$BUILD/install/ztkbase-mac.pc" ] || expected+=(libztkbase-mac1)
[ ! -e "$BUILD/ztk/libztkdialog-gtk3.so" ] || expected+=(libztkbase-dialog-gtk3)
[ ! -e "$BUILD/tools/ztk/ztk" ] || expected+=(ztkbase-tools)
diff <(printf '%s\n' "${expected[@]}" | sort) \
  <(for deb in "$BUILD"/packages/*.deb; do dpkg-deb -f "$deb" Package; done | sort)

for deb in "$BUILD"/packages/*.deb; do
  [ "$(dpkg-deb -f "$deb" Version)" = "$version-1" ]
  zcat < <(dpkg-deb --fsys-tarfile "$deb" | tar -xO --wildcards './usr/share/doc/*/changelog.*') |
    head -n 1 | grep -qF "($version-1)" || { echo "$deb: changelog of another version" >&2; exit 1; }
done
