#!/usr/bin/env bash
# remove_packages.sh <folder>: purges what was installed below the folder; no file stays.
set -euo pipefail
root=$1

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)
mapfile -t packages < <(dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${Package}\n')
[ ${#packages[@]} -gt 0 ]
"${as_root[@]}" dpkg --root="$root" --log=/dev/null --force-not-root --force-bad-path \
  --force-depends --purge "${packages[@]}" >"$root.log" 2>&1 || { cat "$root.log" >&2; exit 1; }
if find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print | grep .; then
  echo "the files above were left behind" >&2
  exit 1
fi
