#!/usr/bin/env bash
# Installs what is missing of the named package groups (see packages.txt); silent when nothing is.
set -euo pipefail

list="$(dirname "$0")/packages.txt"
command -v dpkg-query >/dev/null || { echo "setup: not a Debian system; see $list" >&2; exit 0; }

missing=()
for group in "$@"; do
  while read -r name package; do
    [ "$name" = "$group" ] || continue
    dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done <"$list"
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "setup: installing ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
