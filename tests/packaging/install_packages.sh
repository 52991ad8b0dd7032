#!/usr/bin/env bash
# install_packages.sh <folder>: installs the packages below the folder, with dpkg's records there,
# too. The packages that they depend on are those of the machine, which those records do not list.
set -euo pipefail
root=$1

rm -rf "$root"
mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
touch "$root/var/lib/dpkg/status"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)
"${as_root[@]}" dpkg --root="$root" --log=/dev/null --force-not-root --force-bad-path \
  --force-depends --install "$BUILD"/packages/*.deb >"$root.log" 2>&1 ||
  { cat "$root.log" >&2; exit 1; }
[ -e "$root/usr/include/ztk/ztk.h" ]

# What the packages depend on beside each other is installed on this machine: the names are right.
depends=$(for deb in "$BUILD"/packages/*.deb; do dpkg-deb -f "$deb" Depends; done |
  tr ',' '\n' | sed -E 's/^ *([^ ]+).*/\1/' | sort -u | grep -vE '^libztkbase')
grep -qx libc6 <<<"$depends"
xargs dpkg-query -W <<<"$depends" >/dev/null
